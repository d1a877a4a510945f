#pragma once

#include <sys/time.h>
#include <time.h>

/**
 * Stops the time of day, as gettimeofday() gives it to this process, and the monotonic clock, as
 * clock_gettime() gives it to the library, for as long as it lives. Each of these readings is noted, as
 * the call "gettimeofday" or "clock_gettime <number of the clock>".
 */
class FixedClock {
  public:
    explicit FixedClock(timeval timeOfDay, timespec monotonic = {});
    ~FixedClock();
    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;

    /** Moves the time of day on, or back. */
    void setTimeOfDay(timeval time);

    /** How often the time of day has been read since. */
    int readings() const;
};
