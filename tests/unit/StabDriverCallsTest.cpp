// The system calls by which a record reaches /dev/stabd, one by one. This program stands between
// the library and the C library for open, write and close of that node; all else passes through.

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <string>
#include <vector>

#include "support/DeviceTest.h"
#include "support/DriverNode.h"

namespace {

constexpr char kNode[] = "/dev/stabd";

struct DriverCalls {
    bool watched = false;
    std::vector<std::string> calls;
    int node = -1;
    int interruptions = 0;  // How many writes are yet to fail with EINTR.
    int writeError = 0;     // What the write after those fails with, if it is to fail.
    int closeError = 0;     // What close() fails with, after it has closed, if it is to fail.
};

DriverCalls driver;

class StabDriverCalls : public DeviceTest {
  protected:
    StabDriverCalls() {
        driver = {};
        driver.watched = true;
    }
    ~StabDriverCalls() override { driver.watched = false; }

    DriverNode node_;
};

const std::string kOpen = "open " + std::to_string(O_RDWR);

TEST_F(StabDriverCalls, AreOneOpenForReadingAndWritingOneWriteOfTheRecordAndOneClose) {
    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
}

TEST_F(StabDriverCalls, AreTheSameForEveryNotification) {
    notify_stab_ne("app", 1, 11, 1, "");
    notify_stab_system_killed(4, 1);
    notify_stab_block_logo(1, 2);

    const std::vector<std::string> one = {kOpen, "write 136", "close"};
    std::vector<std::string> three;
    for (int i = 0; i < 3; ++i)
        three.insert(three.end(), one.begin(), one.end());
    EXPECT_EQ(three, driver.calls);
}

TEST_F(StabDriverCalls, RepeatAnInterruptedWriteWithoutLimitOnTheSameDescriptor) {
    driver.interruptions = 10000;

    notify_extra_log_finish(1);

    EXPECT_EQ(10003u, driver.calls.size());
    EXPECT_EQ(kOpen, driver.calls.front());
    EXPECT_EQ("close", driver.calls.back());
    EXPECT_EQ(1u, node_.drain().size());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriverCalls, EndWithAnErrorThatFollowsAnInterruption) {
    driver.interruptions = 2;
    driver.writeError = ENODEV;

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "write 136", "write 136", "close"}),
              driver.calls);
    EXPECT_EQ((std::vector<LogLine>{
                  {6, "libwardline", "notify_stab_driver write bstabd driver error: 19"}}),
              logLines());
}

TEST_F(StabDriverCalls, CloseTheNodeBeforeTheErrorIsLogged) {
    driver.writeError = ENODEV;
    std::vector<std::string> callsAtLog;
    observeCalls([&](const std::string&) { callsAtLog = driver.calls; });

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), callsAtLog);
}

TEST_F(StabDriverCalls, LogErrnoAsCloseLeavesIt) {
    driver.writeError = ENODEV;
    driver.closeError = EIO;

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<LogLine>{
                  {6, "libwardline", "notify_stab_driver write bstabd driver error: 5"}}),
              logLines());
}

TEST_F(StabDriverCalls, LogNothingWhenOnlyCloseFails) {
    driver.closeError = EIO;

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

template <typename Function>
Function* next(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static const auto nextOpen = next<int(const char*, int, ...)>("open");
    const int fd = nextOpen(path, flags, mode);
    if (driver.watched && std::string(path) == kNode) {
        driver.calls.push_back("open " + std::to_string(flags));
        driver.node = fd;
    }
    return fd;
}

ssize_t write(int fd, const void* bytes, size_t count) {
    static const auto nextWrite = next<ssize_t(int, const void*, size_t)>("write");
    if (!driver.watched || fd != driver.node) return nextWrite(fd, bytes, count);
    driver.calls.push_back("write " + std::to_string(count));
    errno = driver.interruptions > 0 ? EINTR : driver.writeError;
    if (driver.interruptions > 0) {
        --driver.interruptions;
        return -1;
    }
    return driver.writeError != 0 ? -1 : nextWrite(fd, bytes, count);
}

int close(int fd) {
    static const auto nextClose = next<int(int)>("close");
    const int result = nextClose(fd);
    if (!driver.watched || fd != driver.node) return result;
    driver.calls.push_back("close");
    driver.node = -1;
    if (driver.closeError == 0) return result;
    errno = driver.closeError;
    return -1;
}
