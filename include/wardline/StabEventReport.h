/**
 * Reporting of stability events, for any process of the system: to the platform's event buffer, or
 * into a file of its own. The record that receivers read is the message StabEvent, the same bytes in
 * both.
 */
#pragma once

#include <wardline/Export.h>

#include <map>
#include <string>

namespace android {

/**
 * Reports one stability event to the platform's event buffer.
 *
 * @param eventType    2 native crash, 4 system_server or zygote killed; not checked, stored as its
 *                     32-bit pattern.
 * @param pid          process concerned; not checked, stored as its 32-bit pattern (-1 becomes
 *                     4294967295).
 * @param processName  process concerned; copied, may be empty, any bytes.
 * @param timeMs       wall clock of the event, in milliseconds since the Unix epoch; 0 means now.
 *                     Not checked to be plausible. The record and the buffer carry the same value.
 * @param data         further attributes, copied; null equals empty. Stays the caller's.
 *
 * Effects: one record with event id 36; it always carries type, pid, name and time, also when they
 * are zero or empty. The order of the attributes in it is unspecified. Nothing is logged.
 *
 * Errors: none reported; a record that the platform drops is lost silently. An allocation that
 * fails raises std::bad_alloc through the caller.
 *
 * Threads: any number at once; takes no lock, keeps no state.
 */
WARDLINE_EXPORT void reportStabEvent(int eventType, int pid, const std::string& processName,
                                     unsigned long timeMs,
                                     const std::map<std::string, std::string>* data);

/**
 * Files one stability event in the monitor directory, /data/syslog/monitor/stabevent, but only where
 * that directory does not exist yet.
 *
 * @param eventType    see reportStabEvent().
 * @param pid          see reportStabEvent().
 * @param processName  see reportStabEvent().
 * @param timeMs       see reportStabEvent(); dates the file too.
 * @param data         see reportStabEvent().
 *
 * What this means for a caller: the call makes the directory by the rule of createMonitorPath() and
 * goes on only when that returns true. The rule is deliberate: the first event after somebody has
 * removed the directory is filed, every other one only logged. Whoever collects the file removes the
 * directory with it, to let the next event in.
 *
 * Effects:
 *  - the directory of mode 0777, and in it the hidden file
 *    ".train_stabevent_1.00_" OTA "_" TRAIN "_" DATETIME "_" TIMESTAMP, where OTA is the property
 *    "ro.os.ota.version" ("-" when unset), TRAIN the property "persist.sys.trainstarttime" ("--" when
 *    unset), DATETIME the event's time by millisecondsToDatetime() and TIMESTAMP the same in
 *    milliseconds. The properties are not escaped: "_" in them makes the name ambiguous, and "/" names
 *    a folder, which is not made.
 *  - the file holds the record's bytes and nothing else; a file of that name is overwritten. It gets
 *    mode 0777 whatever the umask, in the end; until then it has 0666 less the umask.
 *  - making the directory changes the umask of the whole process for a moment, see
 *    createMonitorPath().
 *
 * Errors:
 *  - a directory that exists already, or cannot be made, logs "reportStabEventDirect can not
 *    createMonitorPath" at ERROR; nothing else is done;
 *  - a file that cannot be opened, written or closed is not reported. It may be missing, empty or
 *    short, and an existing one gets mode 0777 even so. This is also the end of every event
 *    while something else than a directory has the directory's path;
 *  - an allocation that fails raises std::bad_alloc through the caller.
 *
 * Threads: no lock. Of several calls at once at most one files its event. It breaks the time down in
 * the buffer of localtime(), see millisecondsToDatetime(), and calls that overlap may leave the umask
 * at 0, see createMonitorPath().
 *
 * \sa createMonitorPath(), millisecondsToDatetime()
 */
WARDLINE_EXPORT void reportStabEventDirect(int eventType, int pid, const std::string& processName,
                                           unsigned long timeMs,
                                           const std::map<std::string, std::string>* data);

}  // namespace android
