#pragma once

#include <sys/time.h>

/**
 * Stops the time of day, as gettimeofday() gives it to this process, for as long as it lives. Each
 * reading is noted as the call "gettimeofday".
 */
class FixedClock {
  public:
    explicit FixedClock(timeval time);
    ~FixedClock();
    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;

    /** How often the time of day has been read since. */
    int readings() const;
};
