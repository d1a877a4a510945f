// The way of a record to /dev/stabd when the kernel makes it hard.

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <atomic>
#include <thread>

#include "proto/wardline_records.pb.h"
#include "support/Await.h"
#include "support/DeviceTest.h"
#include "support/DriverNode.h"
#include "support/ResourceLimit.h"

namespace {

std::atomic<int> signalsTaken = 0;

class StabDriver : public DeviceTest {
  protected:
    static void replaceNodeByLink(const char* target) {
        ASSERT_EQ(0, unlink(kDriverNode));
        ASSERT_EQ(0, symlink(target, kDriverNode));
    }

    /** SIGUSR1 interrupts system calls and is counted. */
    static void interruptBySigusr1() {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++signalsTaken; };
        sigaction(SIGUSR1, &action, nullptr);
    }
};

TEST_F(StabDriver, LogsEnoentWhenTheNodeIsMissing) {
    unlink(kDriverNode);

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(2), logLines());
    EXPECT_EQ("(none)", contentOf(kDriverNode));
}

TEST_F(StabDriver, LogsEisdirWhenTheNodeIsADirectory) {
    unlink(kDriverNode);
    mkdir(kDriverNode, 0777);

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(21), logLines());
}

TEST_F(StabDriver, LogsEmfileWhenThereIsNoDescriptorLeft) {
    {
        const ResourceLimit noDescriptor(RLIMIT_NOFILE, 0);
        notify_extra_log_finish(1);
    }

    EXPECT_EQ(driverError(24), logLines());
}

TEST_F(StabDriver, LogsEnospcWhenTheDriverIsFull) {
    replaceNodeByLink("/dev/full");

    notify_extra_log_finish(1);

    EXPECT_EQ(driverError(28), logLines());
}

TEST_F(StabDriver, LogsEveryFailureOnce) {
    replaceNodeByLink("/dev/full");

    for (int i = 0; i < 3; ++i)
        notify_stab_block_logo(1, 2);

    EXPECT_EQ(3u, logLines().size());
}

TEST_F(StabDriver, LeavesNoDescriptorOpenAfterSuccessAndFailure) {
    DriverNode driver;
    const int own = openDescriptorsTo(kDriverNode);
    notify_extra_log_finish(1);
    EXPECT_EQ(own, openDescriptorsTo(kDriverNode));

    replaceNodeByLink("/dev/full");
    notify_extra_log_finish(1);
    EXPECT_EQ(0, openDescriptorsTo("/dev/full"));
}

TEST_F(StabDriver, TakesDescriptorZeroLikeAnyOther) {
    DriverNode driver;
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);

    notify_extra_log_finish(1);

    EXPECT_EQ(1u, driver.drain().size());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    dup2(input, STDIN_FILENO);
}

TEST_F(StabDriver, OpensTheNodeAnewForEveryRecord) {
    DriverNode driver;
    notify_extra_log_finish(1);
    ASSERT_EQ(0, unlink(kDriverNode));
    writeContent(kDriverNode, "");

    notify_extra_log_finish(2);

    EXPECT_EQ(1u, driver.drain().size());
    EXPECT_EQ(2, DriverRecord(contentOf(kDriverNode)).pid);
}

TEST_F(StabDriver, TakesAShortWriteForSuccess) {
    ASSERT_EQ(0, unlink(kDriverNode));
    writeContent(kDriverNode, "");
    {
        const ResourceLimit shortFile(RLIMIT_FSIZE, 100);
        notify_extra_log_finish(1);
    }

    EXPECT_EQ(100u, contentOf(kDriverNode).size());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriver, NeitherCreatesNorTruncatesTheNode) {
    ASSERT_EQ(0, unlink(kDriverNode));
    writeContent(kDriverNode, std::string(200, 'x'));

    notify_extra_log_finish(1);

    EXPECT_EQ(std::string(64, 'x'), contentOf(kDriverNode).substr(136));
    EXPECT_EQ(200u, contentOf(kDriverNode).size());
}

TEST_F(StabDriver, WritesAgainAfterEverySignalThatInterruptsIt) {
    interruptBySigusr1();
    DriverNode driver;
    const size_t filled = driver.fill();
    std::atomic<pid_t> writer = 0;
    std::thread reporter([&] {
        writer = static_cast<pid_t>(syscall(SYS_gettid));
        notify_extra_log_finish(77);
    });

    ASSERT_TRUE(eventually([&] { return writer != 0; }));
    for (int signals = 1; signals <= 20; ++signals) {
        awaitSleep(writer);
        pthread_kill(reporter.native_handle(), SIGUSR1);
        ASSERT_TRUE(eventually([&] { return signalsTaken == signals; }));
    }
    awaitSleep(writer);
    auto records = driver.drain();
    reporter.join();
    for (std::string& record : driver.drain())
        records.push_back(std::move(record));

    ASSERT_EQ(filled + 1, records.size());
    EXPECT_EQ(77, DriverRecord(records.back()).pid);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(StabDriver, LosesAndMixesUpNothingUnderEightThreads) {
    constexpr int kThreads = 8;
    constexpr int kReports = 10000;
    writeContent(kTrimFlagNode, "0");
    DriverNode driver;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            const std::string name(static_cast<size_t>(thread + 1), 'a' + thread);
            for (int i = 0; i < kReports; ++i) {
                notify_stab_ne(name.c_str(), i, thread, 0, name.c_str());
            }
        });
    }

    std::vector<std::string> records;
    while (records.size() < kThreads * kReports && driver.awaitRecord()) {
        for (std::string& record : driver.drain())
            records.push_back(std::move(record));
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0u, driver.drain().size());

    std::vector<int> next(kThreads, 0);
    for (const std::string& bytes : records) {
        ASSERT_EQ(136u, bytes.size());
        const DriverRecord record(bytes);
        const std::string name = record.processName.c_str();
        ASSERT_EQ(name, record.detail.c_str());
        ASSERT_TRUE(name.size() >= 1 && name.size() <= kThreads);
        ASSERT_EQ(std::string(name.size(), static_cast<char>('a' + name.size() - 1)), name);
        ASSERT_EQ(next[name.size() - 1]++, record.pid);
    }
    EXPECT_EQ(std::vector<int>(kThreads, kReports), next);

    std::vector<int> reported(kThreads, 0);
    for (const BufferedEvent& event : events()) {
        StabEvent record;
        ASSERT_TRUE(record.ParseFromString(event.payload));
        ASSERT_EQ(static_cast<uint32_t>(reported[record.process_name().size() - 1]++),
                  record.pid());
    }
    EXPECT_EQ(next, reported);
    EXPECT_EQ(static_cast<size_t>(kThreads * kReports), logLines().size());
}

}  // namespace
