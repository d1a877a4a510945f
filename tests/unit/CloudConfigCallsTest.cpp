// The locks that the configuration takes and the system calls of its watcher, one by one. This
// program stands between the library and the C library for them, and notes in one order with log
// lines:
//
//     lock 1, unlock 1                the first of the library's mutexes that was locked
//     lock 2, unlock 2                the second one
//     pthread_create                  with default attributes
//     inotify_init
//     inotify_add_watch <path> <mask>
//     read <size>, close              of the inotify descriptor

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <pthread.h>
#include <string.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "support/Deliveries.h"
#include "support/WatcherTest.h"

namespace {

using android::getCloudConfig;
using android::startCloudConfigListenerThread;
using Texts = std::vector<std::string>;

/** What a read is to answer in place of the kernel. */
struct Answer {
    std::string bytes;
    int error = 0;  // errno of a read that fails.
};

struct WatcherCalls {
    std::atomic<const void*> mutexes[2] = {};
    std::atomic<int> inotify = -1;
    int initError = 0;
    int watchError = 0;
    std::deque<Answer> reads;          // Taken in order; the kernel answers when there are no more.
    std::vector<std::string> buffers;  // What the buffer held at each read, 1024 bytes.
    std::function<void()> atInit;
    std::function<void()> atCreate;  // Before the thread is created.
    std::function<void()> atLock;    // Before the library's next lock is taken.
};

WatcherCalls& watcherCalls() {
    static auto* const calls = new WatcherCalls;  // Outlives the watcher.
    return *calls;
}

const Texts kSetUp = {"inotify_init", "inotify_add_watch /data/syslog/settings 2",
                      "log 4 Successfully initialized inotify for file: /data/syslog/settings"};

Texts joined(Texts first, const Texts& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/** The bytes of one event; its name is filled up with zeros to length. */
std::string event(uint32_t mask, const std::string& name, uint32_t length) {
    const inotify_event header = {.wd = 1, .mask = mask, .cookie = 0, .len = length};
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof(header));
    bytes += name;
    bytes.resize(sizeof(header) + length, '\0');
    return bytes;
}

constexpr char kName[] = "stab_cloud_config.json";

class CloudConfigCalls : public WatcherTest {
  protected:
    CloudConfigCalls() { withoutWatcher(); }

    /** Starts a watcher to which only the scripted reads happen, and waits until it has ended. */
    static void runWatcher() {
        watcherCalls().reads.push_back({"", EBADF});
        startCloudConfigListenerThread();
        ASSERT_TRUE(awaitCall("close"));
    }

    /** How often a read that gives these bytes is taken for a change. */
    static long changes(const std::string& bytes) {
        resetTrace();
        watcherCalls().reads = {{bytes}};
        runWatcher();
        const Texts all = calls();
        return std::ranges::count(all, "lock 2");
    }

    static Texts noted() {
        Texts all = calls();
        std::erase(all, "pthread_create");
        return all;
    }

    static constexpr char kReadFailed[] = "log 6 Failed to read from inotify: Bad file descriptor";
};

/** Notes its call. */
void notingSubscriber(android::__StabCloudConfig& config) {
    noteCall("delivered " + std::to_string(config.version));
}

// Locks.

TEST_F(CloudConfigCalls, GetCloudConfigTakesOneLockAfterTheOther) {
    EXPECT_EQ(0u, getCloudConfig(notingSubscriber).version);

    EXPECT_EQ((Texts{"lock 1", "log 6 " + cannotOpen(ENOENT).text, "unlock 1",  // Parse.
                     "lock 2", "unlock 2",                                      // Subscribe.
                     "lock 1", "unlock 1"}),                                    // Copy.
              calls());
}

TEST_F(CloudConfigCalls, GetCloudConfigWithoutASubscriberLeavesTheListAlone) {
    deliver(version(1));
    const Texts expected = {"lock 1", "unlock 1", "lock 1", "unlock 1"};

    getCloudConfig(nullptr);
    EXPECT_EQ(expected, calls());

    resetTrace();
    getCloudConfig(nullptr);
    EXPECT_EQ(expected, calls());
}

TEST_F(CloudConfigCalls, GetCloudConfigReturnsAChangeThatCameAfterItsParse) {
    deliver(version(1));
    watcherCalls().reads = {{event(IN_MODIFY, kName, 32)}};
    observeCalls([&](const std::string& call) {
        if (call != "unlock 2" || callerOf(call) != getpid()) return;
        watcherCalls().atLock = [] {
            deliver(version(2));
            runWatcher();
        };
    });

    EXPECT_EQ(2u, getCloudConfig(subscriberA).version);

    EXPECT_EQ((Texts{"A 2"}), deliveredVersions());
}

#ifdef __cpp_exceptions
TEST_F(CloudConfigCalls, AFaultLeavesTheLocksFree) {
    deliver("no JSON");

    EXPECT_THROW(getCloudConfig(notingSubscriber), Json::Exception);

    EXPECT_EQ((Texts{"lock 1", "unlock 1"}), calls());
}
#endif

TEST_F(CloudConfigCalls, AChangeIsParsedUnderOneLockAndDeliveredUnderBoth) {
    getCloudConfig(notingSubscriber);
    getCloudConfig(notingSubscriber);
    resetTrace();
    watcherCalls().reads = {{event(IN_MODIFY, kName, 32)}};

    runWatcher();

    EXPECT_EQ(joined(kSetUp, {"read 1023", "lock 1", "log 6 " + cannotOpen(ENOENT).text, "lock 2",
                              "delivered 0", "delivered 0", "unlock 2", "unlock 1", "read 1023",
                              kReadFailed, "close"}),
              noted());
}

TEST_F(CloudConfigCalls, AParseKeepsReadersWaiting) {
    getCloudConfig(nullptr);
    watcherCalls().reads = {{event(IN_MODIFY, kName, 32)}};
    std::promise<pid_t> id;
    std::thread reader;
    std::atomic<bool> isParsing = false;
    // The line that the watcher's parse logs.
    observeCalls([&](const std::string& call) {
        if (call != "log 6 " + cannotOpen(ENOENT).text || isParsing.exchange(true)) return;
        reader = std::thread([&] {
            id.set_value(gettid());
            getCloudConfig(nullptr);
            noteCall("returned");
        });
        awaitSleep(id.get_future().get());
        noteCall("parsed");
    });

    runWatcher();
    reader.join();

    const Texts all = calls();
    EXPECT_LT(std::ranges::find(all, "parsed"), std::ranges::find(all, "returned"));
}

// System calls.

TEST_F(CloudConfigCalls, TheWatcherReadsIntoABufferThatIsZeroedOnce) {
    watcherCalls().reads = {{event(IN_MODIFY, "a", 16)}};

    runWatcher();

    const auto& buffers = watcherCalls().buffers;
    ASSERT_EQ(2u, buffers.size());
    EXPECT_EQ(std::string(1024, '\0'), buffers[0]);
    std::string expected = event(IN_MODIFY, "a", 16);
    expected.resize(1024, '\0');
    EXPECT_EQ(expected, buffers[1]);
}

TEST_F(CloudConfigCalls, EachWatcherHasABufferOfItsOwn) {
    watcherCalls().reads = {{event(IN_MODIFY, "a", 16)}};

    runWatcher();
    resetTrace();
    runWatcher();

    ASSERT_EQ(3u, watcherCalls().buffers.size());
    EXPECT_EQ(std::string(1024, '\0'), watcherCalls().buffers[2]);
}

TEST_F(CloudConfigCalls, TheWatcherPutsAZeroBehindWhatItRead) {
    const std::string full = event(IN_MODIFY, std::string(1007, 'x'), 1007);
    ASSERT_EQ(1023u, full.size());
    watcherCalls().reads = {{full}, {event(IN_MODIFY, "a", 1)}};

    runWatcher();

    const auto& buffers = watcherCalls().buffers;
    ASSERT_EQ(3u, buffers.size());
    EXPECT_EQ(full + '\0', buffers[1]);
    EXPECT_EQ(event(IN_MODIFY, "a", 1) + '\0' + full.substr(18) + '\0', buffers[2]);
}

TEST_F(CloudConfigCalls, TheWatcherReadsAgainWhenNothingWasRead) {
    watcherCalls().reads = {{""}, {""}, {""}};

    runWatcher();

    EXPECT_EQ(
        joined(kSetUp, {"read 1023", "read 1023", "read 1023", "read 1023", kReadFailed, "close"}),
        noted());
}

TEST_F(CloudConfigCalls, TheWatcherEndsWithAnyReadThatFails) {
    const std::pair<int, const char*> errors[] = {{EINTR, "Interrupted system call"},
                                                  {EAGAIN, "Resource temporarily unavailable"},
                                                  {EINVAL, "Invalid argument"},
                                                  {EIO, "Input/output error"}};
    for (const auto& [error, text] : errors) {
        resetTrace();
        watcherCalls().reads = {{"", error}};

        startCloudConfigListenerThread();
        ASSERT_TRUE(awaitCall("close"));

        const std::string line = std::string("log 6 Failed to read from inotify: ") + text;
        EXPECT_EQ(joined(kSetUp, {"read 1023", line, "close"}), noted());
    }
}

TEST_F(CloudConfigCalls, TheWatcherEndsWithoutAnInstance) {
    watcherCalls().initError = ENFILE;
    const std::string line = "log 6 Failed to initialize inotify: Too many open files in system";

    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall(line));
    awaitEnd(callerOf(line));

    EXPECT_EQ((Texts{"inotify_init", line}), noted());
}

TEST_F(CloudConfigCalls, TheWatcherEndsWithoutAWatchAndClosesItsInstance) {
    watcherCalls().watchError = ENOSPC;

    startCloudConfigListenerThread();
    ASSERT_TRUE(awaitCall("close"));
    awaitEnd(callerOf("close"));

    EXPECT_EQ((Texts{"inotify_init", "inotify_add_watch /data/syslog/settings 2",
                     "log 6 Failed to add watch for file: /data/syslog/settings", "close"}),
              noted());
}

// Events.

TEST_F(CloudConfigCalls, AChangeIsAnyEventWithTheNameOfTheFile) {
    getCloudConfig(notingSubscriber);
    const std::string change = event(IN_MODIFY, kName, 32);

    EXPECT_EQ(1, changes(change));
    EXPECT_EQ(1, changes(event(IN_MODIFY, kName, 23)));
    EXPECT_EQ(1, changes(event(IN_MODIFY, kName, 22)));  // Without a zero of its own.
    EXPECT_EQ(1, changes(event(IN_MODIFY, std::string(kName) + '\0' + "x", 32)));
    for (const int mask : {0, IN_CREATE, IN_DELETE, IN_MOVED_TO, IN_IGNORED, IN_ISDIR, -1})
        EXPECT_EQ(1, changes(event(static_cast<uint32_t>(mask), kName, 32))) << mask;
    EXPECT_EQ(3, changes(change + change + change));
    // The next event begins right behind the length, and a name goes on to a zero.
    EXPECT_EQ(2, changes(event(IN_MODIFY, kName, 23) + change));
    EXPECT_EQ(1, changes(event(IN_MODIFY, kName, 22) + change));
}

TEST_F(CloudConfigCalls, AnEventOfAnotherNameOrOfNoneIsSkipped) {
    getCloudConfig(notingSubscriber);
    const std::string change = event(IN_MODIFY, kName, 32);
    const std::string overflow = event(IN_Q_OVERFLOW, "", 0);
    const std::string other = event(IN_MODIFY, "other", 16);

    for (const char* name : {"", "stab_cloud_config.jso", "stab_cloud_config.json2",
                             "Stab_cloud_config.json", " stab_cloud_config.json"})
        EXPECT_EQ(0, changes(event(IN_MODIFY, name, 32))) << name;
    EXPECT_EQ(0, changes(overflow));
    EXPECT_EQ(0, changes(overflow + other));
    EXPECT_EQ(1, changes(overflow + change));
    EXPECT_EQ(2, changes(change + overflow + other + change));
    EXPECT_EQ(2, changes(other + change + other + change + other));
}

TEST_F(CloudConfigCalls, AnEventWithoutANameIsNoneEvenIfTheNameFollowsIt) {
    getCloudConfig(notingSubscriber);

    // The name lies where the next event would begin; its first bytes make a length beyond the
    // read.
    EXPECT_EQ(0, changes(event(IN_IGNORED, "", 0) + std::string(kName) + std::string(10, '\0')));
}

TEST_F(CloudConfigCalls, EventsThatAreReadTogetherAreHandledOneAfterAnother) {
    getCloudConfig(notingSubscriber);
    resetTrace();
    deliver(version(1));
    watcherCalls().reads = {{event(IN_MODIFY, kName, 32) + event(IN_MODIFY, "other", 16) +
                             event(IN_MODIFY, kName, 32)}};

    runWatcher();

    const Texts change = {"lock 1", "lock 2", "delivered 1", "unlock 2", "unlock 1"};
    EXPECT_EQ(joined(joined(joined(joined(kSetUp, {"read 1023"}), change), change),
                     {"read 1023", kReadFailed, "close"}),
              noted());
}

// Starting.

class CloudConfigStart : public WatcherTest {};

TEST_F(CloudConfigStart, CreatesOneThreadWithDefaultAttributesBeforeTheFileIsRead) {
    getCloudConfig(nullptr);
    getCloudConfig(nullptr);

    const Texts all = calls();
    EXPECT_EQ("pthread_create", all.front());
    EXPECT_EQ(1, std::ranges::count(all, "pthread_create"));
}

TEST_F(CloudConfigStart, DoesNotWaitForTheWatchSoThatAnEarlyChangeGoesUnnoticed) {
    std::promise<void> changed;
    watcherCalls().atInit = [&] { changed.get_future().wait_for(std::chrono::seconds(30)); };
    deliver(version(1));

    EXPECT_EQ(1u, getCloudConfig(subscriberA).version);
    EXPECT_EQ(0, std::ranges::count(calls(), kWatching));
    deliver(version(2));
    changed.set_value();
    ASSERT_TRUE(awaitCall(kWatching));
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);

    expectOnly({});
}

TEST_F(CloudConfigStart, IsWaitedForByConcurrentCalls) {
    deliver(version(1));
    std::thread second;
    std::promise<pid_t> id;
    watcherCalls().atCreate = [&] {
        second = std::thread([&] {
            id.set_value(gettid());
            EXPECT_EQ(1u, getCloudConfig(nullptr).version);
            noteCall("second returned");
        });
        awaitSleep(id.get_future().get());
        noteCall("started");
    };

    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
    second.join();

    const Texts all = calls();
    EXPECT_LT(std::ranges::find(all, "started"), std::ranges::find(all, "second returned"));
    ASSERT_TRUE(awaitCall(kWatching));
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
}

template <typename Function>
Function* next(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

/** Notes what is done to a mutex of the library. */
void noteMutex(const char* what, const void* mutex) {
    if (!isOfLibrary(mutex)) return;
    int number = 1;
    for (auto& known : watcherCalls().mutexes) {
        const void* unknown = nullptr;
        if (known.compare_exchange_strong(unknown, mutex) || unknown == mutex) break;
        ++number;
    }
    noteCall(what + std::to_string(number));
}

std::optional<Answer> nextAnswer() {
    auto& reads = watcherCalls().reads;
    if (reads.empty()) return std::nullopt;
    Answer answer = reads.front();
    reads.pop_front();
    return answer;
}

int fail(int error) {
    errno = error;
    return -1;
}

}  // namespace

// The C++ library may lock a mutex of its own to initialise what is static in a function: nothing that
// needs this is in these two.
constinit std::atomic<int (*)(pthread_mutex_t*)> nextLock = nullptr;
constinit std::atomic<int (*)(pthread_mutex_t*)> nextUnlock = nullptr;

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    if (nextLock == nullptr) nextLock = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    if (isOfLibrary(mutex)) {
        if (const auto act = std::exchange(watcherCalls().atLock, nullptr)) act();
    }
    const int result = nextLock.load()(mutex);
    noteMutex("lock ", mutex);
    return result;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    if (nextUnlock == nullptr) nextUnlock = next<int(pthread_mutex_t*)>("pthread_mutex_unlock");
    noteMutex("unlock ", mutex);
    return nextUnlock.load()(mutex);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    if (const auto act = std::exchange(watcherCalls().atCreate, nullptr)) act();
    noteCall(attributes == nullptr ? "pthread_create" : "pthread_create with attributes");
    return next<decltype(pthread_create)>("pthread_create")(thread, attributes, start, argument);
}

int inotify_init() noexcept {
    noteCall("inotify_init");
    if (watcherCalls().atInit) watcherCalls().atInit();
    if (watcherCalls().initError != 0) return fail(watcherCalls().initError);
    watcherCalls().inotify = next<int()>("inotify_init")();
    return watcherCalls().inotify;
}

int inotify_add_watch(int fd, const char* path, uint32_t mask) noexcept {
    EXPECT_EQ(watcherCalls().inotify, fd);
    noteCall(std::string("inotify_add_watch ") + path + " " + std::to_string(mask));
    if (watcherCalls().watchError != 0) return fail(watcherCalls().watchError);
    return next<int(int, const char*, uint32_t)>("inotify_add_watch")(fd, path, mask);
}

ssize_t read(int fd, void* buffer, size_t size) {
    static const auto nextRead = next<ssize_t(int, void*, size_t)>("read");
    if (fd != watcherCalls().inotify) return nextRead(fd, buffer, size);
    noteCall("read " + std::to_string(size));
    watcherCalls().buffers.emplace_back(static_cast<const char*>(buffer), size + 1);
    const auto answer = nextAnswer();
    if (!answer.has_value()) return nextRead(fd, buffer, size);
    if (answer->error != 0) return fail(answer->error);
    memcpy(buffer, answer->bytes.data(), answer->bytes.size());
    return static_cast<ssize_t>(answer->bytes.size());
}

int close(int fd) {
    static const auto nextClose = next<int(int)>("close");
    int inotify = fd;
    const bool isInotify = fd >= 0 && watcherCalls().inotify.compare_exchange_strong(inotify, -1);
    const int result = nextClose(fd);
    if (isInotify) noteCall("close");
    return result;
}
