// The watcher: how it is started, what ends it, and what it leaves.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "support/Deliveries.h"
#include "support/Errors.h"
#include "support/ResourceLimit.h"
#include "support/WatcherTest.h"

namespace fs = std::filesystem;

namespace {

using android::getCloudConfig;
using android::startCloudConfigListenerThread;
using Texts = std::vector<std::string>;

constexpr char kInotify[] = "anon_inode:inotify";

class CloudConfigWatcher : public WatcherTest {
  protected:
    /** How many threads this process has; one that was just created counts. */
    static long threads() {
        return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
    }

    /** Expects that a call starts no thread. */
    static void expectNoStart() {
        const long before = threads();
        getCloudConfig(subscriberB);
        EXPECT_EQ(before, threads());
    }
};

// Faults.

TEST_F(CloudConfigWatcher, EndsTheProcessWhenTheFileIsMalformed) {
    for (const char* text : {"no JSON", R"({"version": "2"})", R"({"processesConfig": 1})",
                             R"({"processesConfig": {"processes": ["a"]}})"}) {
        const auto modify = [&] {
            start();
            deliver(text);
            awaitDeliveries(1);
        };
        EXPECT_EXIT(modify(), testing::KilledBySignal(SIGABRT), kJsonError) << text;
    }
    EXPECT_EQ(0u, deliveries().size());
}

#ifdef __cpp_exceptions
TEST_F(CloudConfigWatcher, IsStartedByACallThatFindsAMalformedFileWhichSubscribesNobody) {
    deliver("no JSON");
    EXPECT_THROW(getCloudConfig(subscriberA), Json::Exception);
    ASSERT_TRUE(awaitCall(kWatching));

    writeContent(pathOf("repaired"), version(1));
    fs::rename(pathOf("repaired"), kFile);
    EXPECT_EQ(1u, getCloudConfig(subscriberB).version);
    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(1));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(2));

    EXPECT_EQ((Texts{"B 2", "B 3"}), deliveredVersions());
}
#endif

TEST_F(CloudConfigWatcher, EndsTheProcessWhenTheFileIsTruncated) {
    const auto truncate = [&] {
        start();
        fs::resize_file(kFile, 0);
        awaitDeliveries(1);
    };

    EXPECT_EXIT(truncate(), testing::KilledBySignal(SIGABRT), kJsonError);
}

#ifdef __cpp_exceptions
TEST_F(CloudConfigWatcher, EndsTheProcessWhenASubscriberThrows) {
    const auto deliverTwice = [&] {
        start();
        atDelivery([](auto&, auto&) { throw std::runtime_error("thrown by a subscriber"); });
        deliver(version(2));
        if (!awaitDeliveries(1)) return;
        deliver(version(3));
        awaitDeliveries(2);
    };

    EXPECT_EXIT(deliverTwice(), testing::KilledBySignal(SIGABRT), "thrown by a subscriber");
}
#endif

TEST_F(CloudConfigWatcher, DeliversTheUnchangedRecordWhenTheFileIsGone) {
    start();
    HeldWatcher held;
    deliver(R"({"version": 2, "threadtrackConfig": {"options": {"o": "v"}}})");
    ASSERT_TRUE(held.await());

    deliver(version(3));
    fs::remove(kFile);
    held.release();

    ASSERT_TRUE(awaitDeliveries(2));
    EXPECT_EQ("version 2; dma false 0 0; processes false 0; options (o=v)", deliveries()[1].config);
    EXPECT_EQ((std::vector<LogLine>{info(), cannotOpen(ENOENT)}), logLines());
    EXPECT_EQ(2u, getCloudConfig(nullptr).version);
    EXPECT_EQ(2u, logLines().size());
}

TEST_F(CloudConfigWatcher, TakesTheVersionThatIsInTheRecordWhenTheFileIsGone) {
    start();
    atDelivery([](auto&, auto& config) {
        atDelivery(nullptr);
        config.version = 0;
        deliver(version(3));
        fs::remove(kFile);
    });
    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(2));
    EXPECT_EQ((Texts{"A 2", "A 0"}), deliveredVersions());

    // Not loaded, so the file is looked for.
    getCloudConfig(nullptr);
    EXPECT_EQ((std::vector<LogLine>{info(), cannotOpen(ENOENT), cannotOpen(ENOENT)}), logLines());
}

TEST_F(CloudConfigWatcher, LeavesTheConfigurationNotLoadedWhenTheVersionGoes) {
    start();
    deliver(R"({"processesConfig": {"processes": [{"name": "a"}]}})");
    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_EQ("A 0", deliveredVersions()[0]);

    EXPECT_EQ("version 0; dma false 0 0; processes false 0 (a||-1) (a||-1); options",
              describe(getCloudConfig(nullptr)));
    EXPECT_EQ("version 0; dma false 0 0; processes false 0 (a||-1) (a||-1) (a||-1); options",
              describe(getCloudConfig(nullptr)));

    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(2));
    fs::remove(kFile);
    EXPECT_EQ("version 2; dma false 0 0; processes false 0 (a||-1) (a||-1) (a||-1); options",
              describe(getCloudConfig(nullptr)));
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
}

TEST_F(CloudConfigWatcher, EndsWhenASignalInterruptsItsRead) {
    start();
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);

    // Until one finds it in its read.
    ASSERT_TRUE(eventually([] {
        syscall(SYS_tgkill, getpid(), watcher(), SIGUSR1);
        return logLines().size() > 1;
    }));
    awaitEnd(watcher());

    EXPECT_EQ((std::vector<LogLine>{info(),
                                    error("Failed to read from inotify: Interrupted system call")}),
              logLines());
    EXPECT_EQ(0, openDescriptorsTo(kInotify));

    // Nobody is left to deliver, nor to be started.
    deliver(version(2));
    expectNoStart();
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
    EXPECT_EQ(2u, logLines().size());
    EXPECT_EQ(0u, deliveries().size());
}

/** True while a signal waits for this thread to take it. */
bool hasPendingSignal(pid_t thread) {
    const std::string none = "SigPnd:\t0000000000000000\n";
    const std::string status = contentOf("/proc/self/task/" + std::to_string(thread) + "/status");
    return status.find(none) == std::string::npos;
}

TEST_F(CloudConfigWatcher, GoesOnAfterASignalThatRestartsItsRead) {
    start();
    static std::atomic<bool> isHandled = false;
    struct sigaction action = {};
    action.sa_handler = [](int) { isHandled = true; };
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
    awaitSleep(watcher());

    syscall(SYS_tgkill, getpid(), watcher(), SIGUSR1);
    ASSERT_TRUE(eventually([] { return !hasPendingSignal(watcher()); }));
    deliver(version(2));

    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_TRUE(isHandled);
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
}

TEST_F(CloudConfigWatcher, IsNotThereWhenNoDescriptorWasLeft) {
    deliver(version(1));
    const std::string failure = "Failed to initialize inotify: Too many open files";
    {
        const ResourceLimit none(RLIMIT_NOFILE, 0);
        EXPECT_EQ(0u, getCloudConfig(subscriberA).version);
        ASSERT_TRUE(awaitCall("log 6 " + failure));
    }
    awaitEnd(callerOf("log 6 " + failure));

    const auto lines = logLines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_TRUE((lines[0] == error(failure) && lines[1] == cannotOpen(EMFILE)) ||
                (lines[1] == error(failure) && lines[0] == cannotOpen(EMFILE)));
    // Parsed on demand, watched no more.
    expectNoStart();
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
    EXPECT_EQ(2u, logLines().size());
}

TEST_F(CloudConfigWatcher, IsNotThereWhenTheDirectoryWasMissing) {
    fs::remove_all(kDirectory);
    const std::string failure = "Failed to add watch for file: /data/syslog/settings";
    EXPECT_EQ(0u, getCloudConfig(subscriberA).version);
    ASSERT_TRUE(awaitCall("log 6 " + failure));
    awaitEnd(callerOf("log 6 " + failure));

    EXPECT_EQ(2u, logLines().size());
    EXPECT_EQ(0, openDescriptorsTo(kInotify));

    // Also when it comes into being later.
    fs::create_directory(kDirectory);
    deliver(version(1));
    expectNoStart();
    deliver(version(2));
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
    EXPECT_EQ(2u, logLines().size());
    EXPECT_EQ(0u, deliveries().size());

    // Until one is started directly.
    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall(kWatching));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(2));
    EXPECT_EQ((Texts{"A 3", "B 3"}), deliveredVersions());
}

TEST_F(CloudConfigWatcher, GoesOnWithoutAWordWhenTheDirectoryIsReplacedAndHearsNothingMore) {
    start();
    fs::remove_all(kDirectory);
    fs::create_directory(kDirectory);
    deliver(version(2));

    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall(kWatching, 2));
    deliver(version(3));

    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_EQ((Texts{"A 3"}), deliveredVersions());
    EXPECT_EQ(2, openDescriptorsTo(kInotify));
    EXPECT_EQ((std::vector<LogLine>{info(), info()}), logLines());
}

/** While it lives, no thread can be created for want of memory for its stack. */
class NoThread {
  public:
    NoThread() {
        std::thread([] {}).join();  // A sanitizer makes a thread of its own before the first one.
        pthread_getattr_default_np(&old_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, size_t{1} << 55);
        EXPECT_EQ(0, pthread_setattr_default_np(&huge));
        pthread_attr_destroy(&huge);
    }
    ~NoThread() {
        pthread_setattr_default_np(&old_);
        pthread_attr_destroy(&old_);
    }
    NoThread(const NoThread&) = delete;
    NoThread& operator=(const NoThread&) = delete;

  private:
    pthread_attr_t old_;
};

void expectNoThread(const std::function<void()>& start) {
    const NoThread none;
#ifdef __cpp_exceptions
    try {
        start();
        ADD_FAILURE() << "a thread was created";
    } catch (const std::system_error& error) {
        EXPECT_EQ(std::errc::resource_unavailable_try_again, error.code());
    }
#else
    EXPECT_EXIT(start(), testing::KilledBySignal(SIGABRT),
                "system_error: thread constructor failed: Resource temporarily unavailable");
#endif
}

TEST_F(CloudConfigWatcher, IsStartedByALaterCallWhenThereWasNoThreadToBeHad) {
    deliver(version(1));

    expectNoThread([] { getCloudConfig(subscriberA); });
    expectNoThread([] { getCloudConfig(subscriberA); });
    expectNoThread([] { startCloudConfigListenerThread(); });
    EXPECT_EQ(std::vector<LogLine>(), logLines());

    // Nor had these calls subscribed anybody.
    EXPECT_EQ(1u, getCloudConfig(subscriberB).version);
    ASSERT_TRUE(awaitCall(kWatching));
    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(1));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(2));
    EXPECT_EQ((Texts{"B 2", "B 3"}), deliveredVersions());
}

// How many watchers there are.

TEST_F(CloudConfigWatcher, IsStartedOnceByAnyNumberOfCalls) {
    deliver(version(1));
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i)
        threads.emplace_back([] { EXPECT_EQ(1u, getCloudConfig(nullptr).version); });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_TRUE(awaitCall(kWatching));
    getCloudConfig(subscriberA);

    expectOnly({});
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
    EXPECT_EQ(1, openDescriptorsTo(kInotify));
}

TEST_F(CloudConfigWatcher, IsOneMoreForEachDirectStart) {
    start();
    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall(kWatching, 2));
    EXPECT_EQ(2, openDescriptorsTo(kInotify));

    deliver(R"({"version": 2, "processesConfig": {"processes": [{"name": "a"}]}})");

    ASSERT_TRUE(awaitDeliveries(2));
    EXPECT_EQ((Texts{"A 2", "A 2"}), deliveredVersions());
    EXPECT_NE(deliveries()[0].thread, deliveries()[1].thread);
    EXPECT_EQ("version 2; dma false 0 0; processes false 0 (a||-1) (a||-1); options",
              deliveries()[1].config);
}

TEST_F(CloudConfigWatcher, IsStartedDirectlyWithoutUsingTheOnceFlagUp) {
    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall(kWatching));

    start();

    ASSERT_TRUE(awaitCall(kWatching, 2));
    EXPECT_EQ(2, openDescriptorsTo(kInotify));
}

TEST_F(CloudConfigWatcher, IsNotStartedOnceTheFlagIsUsedUp) {
    withoutWatcher();
    deliver(version(1));

    expectNoStart();
    deliver(version(2));
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(CloudConfigWatcher, UsesTheFlagUp) {
    start();
    bool isCalled = false;

    std::call_once(android::flag, [&] { isCalled = true; });

    EXPECT_FALSE(isCalled);
}

// The thread and its descriptor.

TEST_F(CloudConfigWatcher, IsADetachedThreadWithTheNameOfItsProcess) {
    start();
    std::atomic<int> state = -1;
    std::atomic<bool> hasSameName = false;
    atDelivery([&](auto&, auto&) {
        pthread_attr_t attributes;
        int detachState = -1;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getdetachstate(&attributes, &detachState);
        pthread_attr_destroy(&attributes);
        hasSameName = contentOf("/proc/thread-self/comm") == contentOf("/proc/self/comm");
        state = detachState;
        noteCall("looked");
    });

    deliver(version(2));

    ASSERT_TRUE(awaitCall("looked"));
    EXPECT_EQ(PTHREAD_CREATE_DETACHED, state);
    EXPECT_TRUE(hasSameName);
}

TEST_F(CloudConfigWatcher, KeepsTheSignalMaskOfItsStarter) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    start();
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    awaitSleep(watcher());

    syscall(SYS_tgkill, getpid(), watcher(), SIGUSR1);
    deliver(version(2));

    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
}

TEST_F(CloudConfigWatcher, LeavesItsDescriptorOpenOverExec) {
    start();

    EXPECT_EQ(0, system("ls -l /proc/self/fd | grep -q anon_inode:inotify"));
}

TEST_F(CloudConfigWatcher, IsNotThereInAForkedChild) {
    start();

    const pid_t child = fork();
    if (child == 0) {
        deliver(version(2));
        expectNoStart();
        _exit(HasFailure() || getCloudConfig(nullptr).version != 1 ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);

    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_EQ((Texts{"A 2"}), deliveredVersions());
}

}  // namespace

/**
 * Goes past ThreadSanitizer to the C library: once a call of its own has ended with an exception, all
 * further ones wait for ever.
 */
int pthread_once(pthread_once_t* once, void (*work)()) {
    static const auto original = reinterpret_cast<decltype(pthread_once)*>(
        dlsym(dlopen("libc.so.6", RTLD_NOW | RTLD_NOLOAD), "pthread_once"));
    return original(once, work);
}
