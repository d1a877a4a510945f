// The system calls by which a record reaches /dev/stabd, one by one. This program stands between
// the library and the C library for open, write and close of that node; all else passes through.

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/DeviceTest.h"
#include "support/DriverNode.h"
#include "support/Meanwhile.h"

namespace {

constexpr char kNode[] = "/dev/stabd";

/** What a call is to answer in place of the kernel. */
struct Answer {
    ssize_t result;
    int error = 0;  // errno afterwards.
};

struct DriverCalls {
    bool watched = false;
    std::vector<std::string> calls;
    int node = -1;
    int closed = -1;                     // A descriptor that belongs to nobody since it was closed.
    std::function<void()> atFirstWrite;  // Called before it is passed on.
    // Taken in order, one a call; the kernel answers when there are no more.
    std::deque<Answer> opens;
    std::deque<Answer> writes;
    int closeError = 0;  // What close() fails with, after it has closed, if it is to fail.
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

TEST_F(StabDriverCalls, DoNotRepeatAnInterruptedOpen) {
    driver.opens = {{-1, EINTR}};

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen}), driver.calls);
    EXPECT_EQ(driverError(EINTR), logLines());
}

TEST_F(StabDriverCalls, RepeatAnInterruptedWriteWithoutLimitOnTheSameDescriptor) {
    driver.writes = std::deque<Answer>(10000, {-1, EINTR});

    notify_extra_log_finish(1);

    EXPECT_EQ(10003u, driver.calls.size());
    EXPECT_EQ(kOpen, driver.calls.front());
    EXPECT_EQ("close", driver.calls.back());
    EXPECT_EQ(1u, node_.drain().size());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriverCalls, DoNotRepeatAWriteThatFailsOtherwise) {
    for (int error : {EAGAIN, EIO, ENODEV, EINVAL, ENOMEM, EBADF, EPIPE}) {
        driver.calls.clear();
        driver.writes = {{-1, error}};
        resetTrace();

        notify_extra_log_finish(1);

        EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
        EXPECT_EQ(driverError(error), logLines());
    }
    EXPECT_EQ(0u, node_.drain().size());
}

TEST_F(StabDriverCalls, DoNotRepeatAWriteThatTakesFewerBytes) {
    for (ssize_t taken : {0, 1, 135}) {
        driver.calls.clear();
        driver.writes = {{taken}};

        notify_extra_log_finish(1);

        EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
    }
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriverCalls, EndWithAnErrorThatFollowsAnInterruption) {
    driver.writes = {{-1, EINTR}, {-1, EINTR}, {-1, ENODEV}};

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "write 136", "write 136", "close"}),
              driver.calls);
    EXPECT_EQ(driverError(ENODEV), logLines());
}

TEST_F(StabDriverCalls, CloseTheNodeBeforeTheErrorIsLogged) {
    driver.writes = {{-1, ENODEV}};
    std::vector<std::string> callsAtLog;
    observeCalls([&](const std::string&) { callsAtLog = driver.calls; });

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), callsAtLog);
}

TEST_F(StabDriverCalls, LogErrnoAsCloseLeavesIt) {
    driver.writes = {{-1, ENODEV}};
    driver.closeError = EIO;

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(EIO), logLines());
}

TEST_F(StabDriverCalls, LogNothingWhenOnlyCloseFails) {
    driver.closeError = EIO;

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriverCalls, CloseTheNodeOnceAlsoWhenThatIsInterrupted) {
    driver.closeError = EINTR;

    notify_extra_log_finish(1);

    EXPECT_EQ((std::vector<std::string>{kOpen, "write 136", "close"}), driver.calls);
}

TEST_F(StabDriverCalls, DoNotWaitForThoseOfAnotherThread) {
    driver.atFirstWrite = [] {
        driver.watched = false;
        doMeanwhile([] { notify_extra_log_finish(2); });
        driver.watched = true;
    };

    notify_extra_log_finish(1);

    const auto records = node_.drain();
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ(2, DriverRecord(records[0]).pid);
    EXPECT_EQ(1, DriverRecord(records[1]).pid);
}

template <typename Function>
Function* next(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

std::optional<Answer> take(std::deque<Answer>& answers) {
    if (answers.empty()) return std::nullopt;
    const Answer answer = answers.front();
    answers.pop_front();
    return answer;
}

ssize_t give(const Answer& answer) {
    errno = answer.error;
    return answer.result;
}

}  // namespace

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static const auto nextOpen = next<int(const char*, int, ...)>("open");
    const bool isNode = driver.watched && std::string(path) == kNode;
    if (isNode) {
        driver.calls.push_back("open " + std::to_string(flags));
        if (const auto answer = take(driver.opens)) return static_cast<int>(give(*answer));
    }
    const int fd = nextOpen(path, flags, mode);
    if (fd == driver.closed) driver.closed = -1;
    if (isNode) driver.node = fd;
    return fd;
}

ssize_t write(int fd, const void* bytes, size_t count) {
    static const auto nextWrite = next<ssize_t(int, const void*, size_t)>("write");
    if (!driver.watched || fd != driver.node) return nextWrite(fd, bytes, count);
    if (const auto act = std::exchange(driver.atFirstWrite, nullptr)) act();
    driver.calls.push_back("write " + std::to_string(count));
    if (const auto answer = take(driver.writes)) return give(*answer);
    return nextWrite(fd, bytes, count);
}

int close(int fd) {
    static const auto nextClose = next<int(int)>("close");
    const int result = nextClose(fd);
    if (driver.watched && fd == driver.closed) driver.calls.push_back("close again");
    if (!driver.watched || fd != driver.node) return result;
    driver.calls.push_back("close");
    driver.closed = std::exchange(driver.node, -1);
    if (driver.closeError == 0) return result;
    errno = driver.closeError;
    return -1;
}
