#include "FixedClock.h"

#include <dlfcn.h>

#include <atomic>

#include "PlatformTrace.h"

namespace {

std::atomic<bool> fixed = false;
std::atomic<int> readingCount = 0;
timeval fixedTime;

}  // namespace

FixedClock::FixedClock(timeval time) {
    fixedTime = time;
    readingCount = 0;
    fixed = true;
}

FixedClock::~FixedClock() {
    fixed = false;
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
