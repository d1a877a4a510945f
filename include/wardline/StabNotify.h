/**
 * Notifications to the stability kernel driver, for native crash handlers and for whoever watches
 * system_server and zygote. Usable from C and from C++.
 *
 * A record is 136 bytes, written at once to /dev/stabd over a descriptor that is opened and closed
 * for it alone. A write that a signal interrupts is repeated without limit; any other failure to
 * open or to write logs one ERROR line, "notify_stab_driver write bstabd driver error: %d" with
 * errno, and changes nothing else: the caller is not told. A short write counts as success.
 *
 * All lines go to the Android log under the tag "libwardline".
 *
 * Latch: the system property "sys.stab.system_killed" remembers the first cause of a death of
 * system_server or zygote since it was last cleared; 0, absent or no number means unset. It lives
 * until reboot. Reading and setting it is not atomic: of two simultaneous reporters that find it
 * unset, the later one's cause stays. A refused property_set is ignored.
 *
 * Threads: every function may be called by any number of threads at once; none takes a lock or
 * keeps state in the library. None is async-signal-safe: call them from the handler process or a
 * thread, not from a signal handler.
 */
#pragma once

#include <wardline/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Reports that a native process crashed on a signal.
 *
 * @param process_name  name of the crashed process, NUL-terminated, not null (not checked); read
 *                      only. The driver record keeps its first 39 bytes, the event all of it.
 * @param pid           the crashed process's id; not checked.
 * @param signo         signal number, as in siginfo_t::si_signo; not checked. 11 sets bit 33 of the
 *                      record's flags.
 * @param code          signal code, as in siginfo_t::si_code. Matters only as 128 with signo 6 and
 *                      a name that contains "system_server": the flags then carry bit 10.
 * @param detail        free text for the driver, NUL-terminated, not null (not checked), may be
 *                      empty; read only. The record keeps its first 59 bytes.
 *
 * Effects, in this order:
 *  - one INFO line: "notify_stab_ne process: %s pid: %d, signo: %d";
 *  - the core dump decision of android::needCoredump (see Coredump.h) with all that it writes and
 *    logs; bit 15 of the record's flags carries its answer;
 *  - one driver record with event type 2;
 *  - one stability event of type 2 with the current time (see android::reportStabEvent in
 *    StabEventReport.h), whether or not the driver took its record;
 *  - if the latch is unset and the name begins with "system_server", the latch becomes 2; if it
 *    begins with "zygote" (zygote64 too), 5.
 * Deliberate: bit 10 asks for "system_server" anywhere in the name, the latch for a prefix.
 *
 * Errors: none reported to the caller; see the head of this file.
 */
WARDLINE_EXPORT void notify_stab_ne(const char* process_name, int pid, int signo, int code,
                                    const char* detail);

/**
 * Reports that system_server or zygote was killed, and for which cause. The latch decides what
 * comes of it:
 *
 *     type        latch unset                                      latch set
 *     1, 2, 3, 5  latch becomes type                               nothing
 *     4           latch becomes 4; reported as "system_server"     nothing
 *     6           reported as "zygote"; latch stays unset          latch becomes 0
 *
 * @param type  cause code, 1 to 6. Any other value logs one ERROR line,
 *              "notify_stab_system_killed invalid type: %d", and does nothing else.
 * @param pid   process id to report; not checked.
 *
 * Effects where the table says "reported", in this order:
 *  - one INFO line: "notify_stab_system_killed notify type: %d";
 *  - one driver record with event type 4;
 *  - one stability event of type 4 with the current time, whether or not the driver took its
 *    record.
 *
 * Errors: none reported to the caller; see the head of this file.
 */
WARDLINE_EXPORT void notify_stab_system_killed(int type, int pid);

/**
 * Tells the driver that the extra log collection for a process has finished.
 *
 * @param pid  the process whose logs were collected; not checked.
 *
 * Effects: one driver record with event type 10. No event, no latch.
 * Errors: none reported to the caller; see the head of this file.
 */
WARDLINE_EXPORT void notify_extra_log_finish(int pid);

/**
 * Passes two words through to the driver; their meaning is the driver's.
 *
 * @param word0  bytes 0 to 3 of the record, in the device's byte order.
 * @param word1  bytes 4 to 7 of the record.
 *
 * Effects: one driver record whose other 128 bytes are zero. No event, no latch.
 * Errors: none reported to the caller; see the head of this file.
 */
WARDLINE_EXPORT void notify_stab_block_logo(int word0, int word1);

#ifdef __cplusplus
}
#endif
