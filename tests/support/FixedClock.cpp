#include "FixedClock.h"

#include <dlfcn.h>

#include <atomic>
#include <string>

#include "PlatformTrace.h"

namespace {

std::atomic<bool> fixed = false;
std::atomic<int> readingCount = 0;
timeval fixedTime;
timespec fixedMonotonic;

}  // namespace

FixedClock::FixedClock(timeval timeOfDay, timespec monotonic) {
    fixedTime = timeOfDay;
    fixedMonotonic = monotonic;
    readingCount = 0;
    fixed = true;
}

FixedClock::~FixedClock() {
    fixed = false;
}

void FixedClock::setTimeOfDay(timeval time) {
    fixedTime = time;
}

int FixedClock::readings() const {
    return readingCount;
}

int gettimeofday(timeval* time, void* zone) noexcept {
    if (!fixed) {
        static const auto next =
            reinterpret_cast<decltype(gettimeofday)*>(dlsym(RTLD_NEXT, "gettimeofday"));
        return next(time, zone);
    }
    ++readingCount;
    noteCall("gettimeofday");
    *time = fixedTime;
    return 0;
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const bool ours = fixed && isOfLibrary(__builtin_return_address(0));
    if (ours) noteCall("clock_gettime " + std::to_string(clock));
    if (!ours || clock != CLOCK_MONOTONIC) {
        static const auto next =
            reinterpret_cast<decltype(clock_gettime)*>(dlsym(RTLD_NEXT, "clock_gettime"));
        return next(clock, time);
    }
    *time = fixedMonotonic;
    return 0;
}
