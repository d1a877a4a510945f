// The way of a record into a driver of the kernel's, and what the library does when that fails.

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "VirtualDeviceTest.h"
#include "support/Await.h"

namespace {

std::function<void()> beforeRecord;  // Called once, between the node's open and the write to it.
std::atomic<int> signalsTaken = 0;

class DriverFault : public VirtualDeviceTest {
  protected:
    static void expectRecord(int pid) {
        const auto records = DriverNode().drain();
        ASSERT_EQ(1u, records.size());
        EXPECT_EQ(pid, DriverRecord(records.front()).pid);
    }

    static void handleSigusr1(int flags) {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++signalsTaken; };
        action.sa_flags = flags;
        sigaction(SIGUSR1, &action, nullptr);
    }
};

TEST_F(DriverFault, IsNoneForOneOpenOneWriteAndOneClose) {
    notify_extra_log_finish(77);

    EXPECT_EQ("1 opens, 1 writes, 1 closes", driverCalls());
    expectRecord(77);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(DriverFault, IsNoneForAnyNotification) {
    notify_stab_ne("app", 1, 11, 1, "");
    notify_stab_system_killed(4, 1);
    notify_stab_block_logo(1, 2);

    EXPECT_EQ("3 opens, 3 writes, 3 closes", driverCalls());
    EXPECT_EQ(3u, DriverNode().drain().size());
}

TEST_F(DriverFault, OfAnOpenIsLoggedAndEndsTheRecord) {
    for (const int error : {EINTR, EACCES, EBUSY, ENODEV, EIO}) {
        SCOPED_TRACE(error);
        resetTrace();
        setDriver("opens", "0");
        setDriver("open_errno", std::to_string(error));

        notify_extra_log_finish(1);

        EXPECT_EQ(driverError(error), logLines());
        EXPECT_EQ("1 opens, 0 writes, 0 closes", driverCalls());
    }
}

TEST_F(DriverFault, OfAWriteIsLoggedAndEndsTheRecord) {
    for (const int error : {EAGAIN, EIO, ENODEV, EINVAL, ENOMEM, ENOSPC, EPIPE}) {
        SCOPED_TRACE(error);
        resetTrace();
        setDriver("writes", "0");
        setDriver("write_errno", std::to_string(error));

        notify_extra_log_finish(1);

        EXPECT_EQ(driverError(error), logLines());
        EXPECT_EQ(1, driver("writes"));
        EXPECT_EQ(driver("opens"), driver("closes"));
    }
    EXPECT_EQ(0u, DriverNode().drain().size());
}

TEST_F(DriverFault, DoesNotKeepACrashFromItsEventNorAKillFromItsLatch) {
    setDriver("write_errno", std::to_string(EIO));

    notify_stab_ne("system_server", 1, 11, 1, "");
    EXPECT_EQ(1u, events().size());
    EXPECT_EQ("2", property("sys.stab.system_killed"));

    notify_stab_system_killed(6, 1);
    notify_stab_system_killed(4, 1);
    EXPECT_EQ(2u, events().size());
    EXPECT_EQ("4", property("sys.stab.system_killed"));
}

TEST_F(DriverFault, OfInterruptionIsTriedAgainWithoutLimit) {
    setDriver("write_eintr", "10000");

    notify_extra_log_finish(5);

    EXPECT_EQ("1 opens, 10001 writes, 1 closes", driverCalls());
    expectRecord(5);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(DriverFault, AfterInterruptionsIsLoggedAndEndsTheRecord) {
    setDriver("write_eintr", "2");
    setDriver("write_errno", std::to_string(ENODEV));

    notify_extra_log_finish(1);

    EXPECT_EQ("1 opens, 3 writes, 1 closes", driverCalls());
    EXPECT_EQ(driverError(ENODEV), logLines());
}

TEST_F(DriverFault, OfAShortCountIsTakenForSuccess) {
    for (const int count : {0, 1, 135}) {
        setDriver("writes", "0");
        setDriver("write_count", std::to_string(count));

        notify_extra_log_finish(1);

        EXPECT_EQ(1, driver("writes"));
    }
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0u, DriverNode().drain().size());
}

TEST_F(DriverFault, OfSignalsThatInterruptTheDriverIsTriedAgain) {
    handleSigusr1(0);
    setDriver("write_delay_ms", "60000");
    std::thread reporter([] { notify_extra_log_finish(9); });

    for (int signals = 1; signals <= 20; ++signals) {
        ASSERT_TRUE(eventually([&] { return driver("writes") == signals; }));
        if (signals == 20) setDriver("write_delay_ms", "0");
        pthread_kill(reporter.native_handle(), SIGUSR1);
        ASSERT_TRUE(eventually([&] { return signalsTaken == signals; }));
    }
    reporter.join();

    EXPECT_EQ("1 opens, 21 writes, 1 closes", driverCalls());
    expectRecord(9);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(DriverFault, IsNoneForSignalsAfterWhichTheKernelGoesOn) {
    handleSigusr1(SA_RESTART);
    setDriver("write_delay_ms", "60000");
    std::thread reporter([] { notify_extra_log_finish(9); });
    ASSERT_TRUE(eventually([] { return driver("writes") == 1; }));

    pthread_kill(reporter.native_handle(), SIGUSR1);
    ASSERT_TRUE(eventually([] { return driver("writes") == 2; }));
    setDriver("write_delay_ms", "0");
    pthread_kill(reporter.native_handle(), SIGUSR1);
    reporter.join();

    EXPECT_EQ("1 opens, 3 writes, 1 closes", driverCalls());
    expectRecord(9);
    EXPECT_EQ(2, signalsTaken);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(DriverFault, OfADriverThatIsUnloadedBetweenOpenAndWriteIsLogged) {
    beforeRecord = unloadDriver;

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(ENODEV), logLines());
    EXPECT_EQ(-1, access(kDriverNode, F_OK));
}

TEST_F(DriverFault, StaysInTheRecordWhenTheDriverComesBackAtOnce) {
    beforeRecord = [] {
        unloadDriver();
        loadDriver();
    };

    notify_extra_log_finish(1);
    EXPECT_EQ(driverError(ENODEV), logLines());
    EXPECT_EQ("0 opens, 0 writes, 0 closes", driverCalls());

    notify_extra_log_finish(2);
    expectRecord(2);
}

TEST_F(DriverFault, OfADriverThatIsUnloadedWhileARecordWaitsForRoomIsLogged) {
    DriverNode().fill();
    std::atomic<pid_t> writer = 0;
    std::thread reporter([&] {
        writer = gettid();
        notify_extra_log_finish(1);
    });
    ASSERT_TRUE(eventually([&] { return writer != 0; }));
    awaitSleep(writer);

    unloadDriver();
    reporter.join();

    EXPECT_EQ(driverError(ENODEV), logLines());
}

TEST_F(DriverFault, IsNoneForADelayThatEnds) {
    setDriver("write_delay_ms", "10");

    notify_extra_log_finish(3);

    EXPECT_EQ("1 opens, 1 writes, 1 closes", driverCalls());
    expectRecord(3);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(DriverFault, OfADriverThatIsUnloadedWhileARecordWaitsIsLogged) {
    setDriver("write_delay_ms", "60000");
    std::thread reporter([] { notify_extra_log_finish(1); });
    ASSERT_TRUE(eventually([] { return driver("writes") == 1; }));

    unloadDriver();
    reporter.join();

    EXPECT_EQ(driverError(ENODEV), logLines());
}

TEST_F(DriverFault, OfADriverThatIsNotLoadedIsAMissingNode) {
    unloadDriver();

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(ENOENT), logLines());
    EXPECT_EQ(-1, access(kDriverNode, F_OK));
}

TEST_F(DriverFault, OfANodeWhoseDriverIsGoneIsAMissingDevice) {
    ASSERT_EQ(0, rename(kDriverNode, "/dev/stabd.kept"));
    unloadDriver();
    ASSERT_EQ(0, rename("/dev/stabd.kept", kDriverNode));

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(ENODEV), logLines());
    unlink(kDriverNode);
}

}  // namespace

ssize_t write(int fd, const void* bytes, size_t count) {
    static const auto next = reinterpret_cast<decltype(write)*>(dlsym(RTLD_NEXT, "write"));
    if (count == 136) {
        if (const auto act = std::exchange(beforeRecord, nullptr)) act();
    }
    return next(fd, bytes, count);
}
