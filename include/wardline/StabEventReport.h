/**
 * Reporting of stability events, for any process of the system: to the platform's event buffer, or
 * into a file of its own. The record that receivers read is the message StabEvent, made in the same
 * way for both.
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
 * Errors: none reported; a record that the platform drops is lost silently, and one of 2 GiB or
 * more is sent empty. An allocation that fails raises std::bad_alloc through the caller.
 *
 * Threads: any number at once; takes no lock, keeps no state.
 */
WARDLINE_EXPORT void reportStabEvent(int eventType, int pid, const std::string& processName,
                                     unsigned long timeMs,
                                     const std::map<std::string, std::string>* data);

/**
 * Files one stability event in the monitor directory, /data/syslog/monitor/stabevent, but only
 * where that directory does not exist yet.
 *
 * @param eventType    2 native crash, 4 system_server or zygote killed; not checked, stored as its
 *                     32-bit pattern.
 * @param pid          process concerned; not checked, stored as its 32-bit pattern.
 * @param processName  process concerned; copied, may be empty, any bytes.
 * @param timeMs       wall clock of the event, in milliseconds since the Unix epoch; 0 means now.
 *                     Not checked to be plausible. The record and the file's name carry the same
 *                     value.
 * @param data         further attributes, copied; null equals empty. Stays the caller's.
 *
 * What this means for a caller: the call makes the directory by the rule of createMonitorPath() and
 * goes on only when that returns true. The rule is deliberate: the first event after somebody has
 * removed the directory is filed, every other one only logged. A collector must remove the
 * directory with the file, and an empty one too: after a failure below, the directory stays and
 * keeps all later events out.
 *
 * Effects:
 *  - the directory of mode 0777, and in it one hidden file whose name says
 *        .train_stabevent_1.00_<OTA>_<train>_<date and time>_<timestamp>
 *    OTA is the property "ro.os.ota.version", "-" when that is unset or empty; train the property
 *    "persist.sys.trainstarttime", "--" when that is; then the event's time, first as
 *    millisecondsToDatetime() writes it, then in milliseconds. The properties are not escaped: "_"
 *    in them makes the name ambiguous, and "/" names a folder, which is not made.
 *  - the file holds the record's bytes and nothing else; a file of that name is truncated first. A
 *    new file has mode 0666 less the umask until it is written; then each gets mode 0777.
 *  - making the directory changes the umask of the whole process for a moment, see
 *    createMonitorPath().
 *
 * Errors:
 *  - where the directory exists already, or cannot be made, the event is lost, and one line at
 *    ERROR tells of it:
 *        reportStabEventDirect can not createMonitorPath
 *  - a file that cannot be opened, written or closed is not reported. It may be missing, empty or
 *    short, and an existing one gets mode 0777 even so. This is also the end of every event while
 *    something other than a directory has the directory's path;
 *  - a record of 2 GiB or more is filed empty;
 *  - an allocation that fails raises std::bad_alloc through the caller.
 *
 * Threads: no lock. Of several calls at once at most one files its event. It breaks the time down
 * in the buffer of localtime(), see millisecondsToDatetime(), and calls that overlap may leave the
 * umask at 0, see createMonitorPath().
 *
 * \sa createMonitorPath(), millisecondsToDatetime()
 */
WARDLINE_EXPORT void reportStabEventDirect(int eventType, int pid, const std::string& processName,
                                           unsigned long timeMs,
                                           const std::map<std::string, std::string>* data);

}  // namespace android
