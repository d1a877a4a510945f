/**
 * Reporting of locks that the managed runtime (ART) waited on for too long. The record that
 * receivers read is the message ArtLockTimeoutData, with one ArtLockTimeout in it.
 */
#pragma once

#include <wardline/Export.h>

#include <string>

namespace android {

/**
 * Reports one lock timeout to the platform's event buffer.
 *
 * @param name       what the report is about; heads the log line.
 * @param timestamp  when the timeout happened, as text; not parsed. The buffer's own time for the
 *                   record is the wall clock at the time of this call.
 * @param waitTime   how long the lock was waited on, in the caller's unit; any value.
 * @param owner      number by which the caller knows the lock's owner; any value.
 * @param ownerDesc  text that describes the owner.
 * @param object     the lock object.
 * @param extra1     further text, which is not logged.
 * @param extra2     further text, which is not logged.
 *
 * Texts are copied into the record whole, with any bytes, and may be empty; the log line shows each
 * up to its first NUL.
 *
 * Effects: one record with event id 39, which always carries all eight fields; and before it one
 * DEBUG line, of which the log keeps the first 1023 bytes. Its label "wati_time" is deliberate:
 *
 *     reportArtLockTimeout : %s, timestamp: %s, wati_time: %lu, owner: %lu: %s, object: %s
 *
 * Errors: none reported; a record that the platform drops is lost silently, and one of 2 GiB or
 * more is sent empty. An allocation that fails raises std::bad_alloc through the caller.
 *
 * Threads: any number at once; takes no lock, keeps no state.
 */
WARDLINE_EXPORT void reportArtLockTimeout(const std::string& name, const std::string& timestamp,
                                          unsigned long waitTime, unsigned long owner,
                                          const std::string& ownerDesc, const std::string& object,
                                          const std::string& extra1, const std::string& extra2);

}  // namespace android
