// Two threads want one lock. The one that waits for it reports when it has waited too long:
//
//     lock_timeout LIMIT-MS

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/Cmdline.h>
#include <wardline/Timestamp.h>

#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/** A lock that knows who holds it. */
struct OwnedLock {
    std::timed_mutex mutex;
    pid_t owner = 0;
    std::string ownerName;
};

std::string threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

/** Holds the lock from the moment that held is set until release is. */
void holdLock(OwnedLock& lock, std::promise<void> held, std::future<void> release) {
    pthread_setname_np(pthread_self(), "holder");
    const std::lock_guard guard(lock.mutex);
    lock.owner = gettid();
    lock.ownerName = threadName();
    held.set_value();
    release.wait();
}

void reportWait(const OwnedLock& lock, steady_clock::duration waited) {
    const auto now = static_cast<unsigned long>(android::getTimestamp());
    const auto waitedMs = std::chrono::duration_cast<milliseconds>(waited).count();
    char object[64];
    snprintf(object, sizeof(object), "OwnedLock at %p", static_cast<const void*>(&lock));
    android::reportArtLockTimeout(
        "long lock wait", android::millisecondsToDatetime(now),
        static_cast<unsigned long>(waitedMs), static_cast<unsigned long>(lock.owner),
        "thread " + lock.ownerName, object, "waiter " + threadName(), android::getCmdline());
}

/** Takes the lock; calls tooLong when that has taken the limit already. */
void takeLock(OwnedLock& lock, milliseconds limit, const auto& tooLong) {
    const auto start = steady_clock::now();
    if (!lock.mutex.try_lock_for(limit)) {
        tooLong(steady_clock::now() - start);
        lock.mutex.lock();
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int limitMs = argc == 2 ? atoi(argv[1]) : 0;
    if (limitMs <= 0) {
        fprintf(stderr, "usage: lock_timeout LIMIT-MS\n");
        return 2;
    }
    OwnedLock lock;
    std::promise<void> held;
    std::promise<void> release;
    std::future<void> isHeld = held.get_future();
    std::thread holder(holdLock, std::ref(lock), std::move(held), release.get_future());
    isHeld.wait();

    takeLock(lock, milliseconds(limitMs), [&](steady_clock::duration waited) {
        reportWait(lock, waited);
        release.set_value();
    });
    lock.mutex.unlock();
    holder.join();
    return 0;
}
