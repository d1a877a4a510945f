// The virtual device's stability driver, by its own nodes.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>

#include "VirtualDeviceTest.h"
#include "support/Await.h"

namespace {

constexpr size_t kRingRecords = 512;

class Driver : public VirtualDeviceTest {
  protected:
    Driver()
        : node_(open(kDriverNode, O_RDWR | O_NONBLOCK | O_CLOEXEC)),
          records_(open("/dev/stabd_records", O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}
    ~Driver() override {
        close(node_);
        close(records_);
    }

    /** Writes a record of one letter, or another number of bytes; 0, or the error. */
    static int put(int node, char letter, size_t size = 136) {
        const std::string record(size, letter);
        return write(node, record.data(), size) == static_cast<ssize_t>(size) ? 0 : errno;
    }

    /** The letter of the next record, or "error" and its number. */
    static std::string take(int records, size_t size = 136) {
        std::string record(size, '\0');
        const ssize_t count = read(records, record.data(), size);
        if (count < 0) return "error " + std::to_string(errno);
        record.resize(static_cast<size_t>(count));
        return record == std::string(136, record[0]) ? record.substr(0, 1) : "mixed";
    }

    static short eventsOf(int fd, int timeoutMs = 0) {
        pollfd wait = {fd, POLLIN | POLLOUT, 0};
        poll(&wait, 1, timeoutMs);
        return wait.revents;
    }

    int node_;
    int records_;
};

TEST_F(Driver, GivesRecordsOneAtATimeInTheirOrder) {
    for (const char letter : {'a', 'b', 'c'})
        EXPECT_EQ(0, put(node_, letter));

    EXPECT_EQ("a", take(records_, 4096));
    EXPECT_EQ("b", take(records_));
    EXPECT_EQ("c", take(records_));
    EXPECT_EQ("error 11", take(records_));
}

TEST_F(Driver, TakesAndGivesWholeRecordsOnly) {
    for (const size_t size : {0, 1, 135, 137, 272})
        EXPECT_EQ(EINVAL, put(node_, 'a', size)) << size;

    EXPECT_EQ("error 22", take(records_, 135));
    EXPECT_EQ("error 11", take(records_));
}

TEST_F(Driver, MayBeUsedByAnybody) {
    EXPECT_EQ(0666, modeOf(kDriverNode));
    EXPECT_EQ(0666, modeOf("/dev/stabd_records"));
}

TEST_F(Driver, KeepsARecordThatCannotBeGiven) {
    put(node_, 'a');
    void* volatile nowhere = nullptr;

    EXPECT_EQ(-1, read(records_, nowhere, 136));
    EXPECT_EQ(EFAULT, errno);

    EXPECT_EQ("a", take(records_));
}

TEST_F(Driver, NeverTakesMoreThanItIsGiven) {
    setDriver("write_count", "1000");

    EXPECT_EQ(0, put(node_, 'a'));
    EXPECT_EQ("error 11", take(records_));
}

TEST_F(Driver, RefusesARecordThatIsNotThere) {
    const void* volatile nowhere = nullptr;  // The compiler does not look into it.

    EXPECT_EQ(-1, write(node_, nowhere, 136));
    EXPECT_EQ(EFAULT, errno);

    EXPECT_EQ("error 11", take(records_));
}

TEST_F(Driver, TellsWhoPollsWhatThereIs) {
    EXPECT_EQ(POLLOUT, eventsOf(node_));
    EXPECT_EQ(0, eventsOf(records_));

    put(node_, 'a');
    EXPECT_EQ(POLLIN, eventsOf(records_));

    take(records_);
    EXPECT_EQ(0, eventsOf(records_));
}

TEST_F(Driver, TakesNoMoreWhenItsRingIsFullUntilOneIsRead) {
    for (size_t i = 0; i < kRingRecords; ++i)
        ASSERT_EQ(0, put(node_, static_cast<char>('a' + i % 26)));
    EXPECT_EQ(EAGAIN, put(node_, 'z'));
    EXPECT_EQ(0, eventsOf(node_));

    EXPECT_EQ("a", take(records_));
    EXPECT_EQ(POLLOUT, eventsOf(node_));
    EXPECT_EQ(0, put(node_, 'Z'));

    for (size_t i = 1; i < kRingRecords; ++i)
        ASSERT_EQ(std::string(1, static_cast<char>('a' + i % 26)), take(records_));
    EXPECT_EQ("Z", take(records_));
}

TEST_F(Driver, LetsWritersAndReadersWait) {
    const int blockingNode = open(kDriverNode, O_WRONLY | O_CLOEXEC);
    const int blockingRecords = open("/dev/stabd_records", O_RDONLY | O_CLOEXEC);
    std::string taken;
    std::thread reader([&] {
        for (size_t i = 0; i < 3 * kRingRecords; ++i)
            taken += take(blockingRecords);
    });
    for (size_t i = 0; i < 3 * kRingRecords; ++i)
        EXPECT_EQ(0, put(blockingNode, static_cast<char>('a' + i % 26)));
    reader.join();
    close(blockingNode);
    close(blockingRecords);

    ASSERT_EQ(3 * kRingRecords, taken.size());
    for (size_t i = 0; i < taken.size(); ++i)
        ASSERT_EQ(static_cast<char>('a' + i % 26), taken[i]) << i;
}

TEST_F(Driver, LetsAReaderGoWithASignalOrWithItself) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    for (const bool isSignal : {true, false}) {
        std::atomic<pid_t> thread = 0;
        std::string taken;
        const int records = open("/dev/stabd_records", O_RDONLY | O_CLOEXEC);
        std::thread reader([&] {
            thread = gettid();
            taken = take(records);
        });
        ASSERT_TRUE(eventually([&] { return thread != 0; }));
        awaitSleep(thread);

        if (isSignal) pthread_kill(reader.native_handle(), SIGUSR1);
        if (!isSignal) unloadDriver();
        reader.join();

        EXPECT_EQ(isSignal ? "error 4" : "error 19", taken);
        close(records);
    }
}

TEST_F(Driver, WakesWhoPollsForARecord) {
    std::atomic<pid_t> thread = 0;
    std::thread poller([&] {
        thread = gettid();
        EXPECT_EQ(POLLIN, eventsOf(records_, 30000));
    });
    ASSERT_TRUE(eventually([&] { return thread != 0; }));
    awaitSleep(thread);

    put(node_, 'a');
    poller.join();
}

TEST_F(Driver, LeavesItsOpenFilesWithoutADevice) {
    std::atomic<pid_t> thread = 0;
    std::thread poller([&] {
        thread = gettid();
        EXPECT_EQ(POLLHUP | POLLERR, eventsOf(records_, 30000));
    });
    ASSERT_TRUE(eventually([&] { return thread != 0; }));
    awaitSleep(thread);
    unloadDriver();
    poller.join();

    EXPECT_EQ(ENODEV, put(node_, 'a'));
    EXPECT_EQ("error 19", take(records_));
    EXPECT_EQ(-1, access(kDriverNode, F_OK));
    EXPECT_EQ(-1, access("/dev/stabd_records", F_OK));

    loadDriver();
    EXPECT_EQ(ENODEV, put(node_, 'a'));
    EXPECT_EQ("error 19", take(records_));
}

TEST_F(Driver, CannotBeToldAFaultThatThereIsNot) {
    EXPECT_EQ("0644\n", contentOf("/sys/module/stabd/parameters/disable_mode"));
    for (const char* parameter : {"write_errno", "write_eintr", "disable_mode"}) {
        const std::string path = std::string("/sys/module/stabd/parameters/") + parameter;
        const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        for (const char* value : {"-1", "4294967295", "none"})
            EXPECT_EQ(-1, write(file, value, std::string(value).size())) << path << ' ' << value;
        close(file);
    }
    for (const auto& [parameter, value] :
         {std::pair("write_errno", "134"), {"disable_mode", "0111"}, {"disable_mode", "01666"}}) {
        const std::string path = std::string("/sys/module/stabd/parameters/") + parameter;
        const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(-1, write(file, value, strlen(value))) << path << ' ' << value;
        close(file);
    }
    EXPECT_EQ(0644, modeOf(kCoredumpDisableNode));
}

}  // namespace
