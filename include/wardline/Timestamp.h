/**
 * The clock by which libwardline dates its reports, and the form in which a date enters the name of
 * a stability event file.
 */
#pragma once

#include <stdint.h>
#include <wardline/Export.h>

#include <string>

namespace android {

/**
 * Reads the wall clock.
 *
 * @return milliseconds since the Unix epoch: seconds times 1000 plus microseconds divided by 1000,
 *         truncated. Jumps whenever the clock is set.
 *
 * Effects: none. Errors: none. Threads: any number at once.
 */
WARDLINE_EXPORT int64_t getTimestamp();

/**
 * Writes a time as local date and time, to the minute: YYYYMMDDhhmm.
 *
 * @param ms  wall clock, milliseconds since the Unix epoch; any value.
 * @return digits only: the year with at least four of them, month, day, hour (00 to 23) and minute
 *         with two each. Twelve characters up to the year 9999, more after it. Deliberately without
 *         seconds: all times of one minute give the same text. Where daylight saving ends, two
 *         different hours do.
 *
 * The time zone is the process's own, from TZ or the system's setting at the time of the call.
 *
 * Effects: those of localtime(): overwrites the process's one buffer, and sets tzname, timezone and
 * daylight anew. Errors: none, but for an allocation that fails.
 *
 * Threads: callers share that buffer. A call that meets another one, any other use of localtime(),
 * or a change of TZ in another thread may give a mixed text; whoever needs more keeps them apart.
 */
WARDLINE_EXPORT std::string millisecondsToDatetime(unsigned long ms);

}  // namespace android
