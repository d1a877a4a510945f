/**
 * Reporting of stability events to the platform's event buffer, for any process of the system. The
 * record that receivers read is the message StabEvent.
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

}  // namespace android
