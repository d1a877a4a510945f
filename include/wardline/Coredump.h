/**
 * The core dump policy, for native crash handlers.
 *
 * /proc/sys/kernel/coredump_trim_flag holds the policy as a decimal integer. Bits 0 and 1 are the
 * trim mode: 0 no core dumps, 1 one for each process name and boot, 2 or 3 always. Bit 12 (0x1000)
 * vetoes every core dump. Other bits are ignored.
 */
#pragma once

#include <wardline/Export.h>

namespace android {

/**
 * Decides whether a crashing process may dump core, and tells the kernel.
 *
 * @param processName  the crashing process's name as its caller knows it, NUL-terminated, not null
 *                     (not checked); may hold '/' and may be empty. Read only.
 * @return true when the process may dump core.
 *
 * Effects:
 *  - Trim mode 1 keeps one latch for each name: the system property "dumpstate.coredump." followed
 *    by the name with every '/' replaced by '-'. The first call for a name finds it unset (absent,
 *    0 or no number), sets it to "1" and answers true; later calls answer false, until reboot or
 *    until somebody resets it to "0". When the property service refuses the name (one that is too
 *    long, or holds characters that it does not take), the latch stays unset and every call answers
 *    true.
 *  - Modes 1, 2 and 3 write the decision to /proc/sys/kernel/coredump_disable (1 no core dump, 0
 *    allowed) and log one INFO line, "enable coredump for %s" or "disable coredump for %s". Where
 *    that node cannot be opened neither happens; the latch is used up all the same.
 *  - Mode 0 and the veto touch nothing and log nothing: coredump_disable deliberately keeps the
 *    value of the decision before.
 *
 * Errors, each answered with false and without any effect:
 *  - a policy node that cannot be opened logs "Failed to open sysctl node for read", deliberately
 *    at INFO;
 *  - one that holds no integer logs "error reading integer from coredump_trim_flag" at ERROR.
 *
 * Threads: any number at once; no lock, no state in the library. The latch is read and then set,
 * not atomically: two simultaneous crashes of one name may both be allowed. The kernel switch is
 * one for all processes, the last writer wins.
 */
WARDLINE_EXPORT bool needCoredump(const char* processName);

}  // namespace android
