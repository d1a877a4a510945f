/**
 * The monitor directory, /data/syslog/monitor/stabevent, into which reportStabEventDirect() files its
 * events.
 */
#pragma once

#include <wardline/Export.h>

namespace android {

/**
 * Makes the monitor directory.
 *
 * @return true when this very call made the directory, or when its path exists and is no directory
 *         (a link counts as what it leads to).
 *
 * What this means for a caller: true does not promise a directory, and false does not tell that there
 * is none. The rule is deliberate: a directory that exists cannot be made, so the first call
 * returns true and every later one false. To know whether the directory is there, look at it with
 * stat(); call this function to make it, and to learn whether you were the one who did.
 *
 * Effects: a directory of mode 0777 whatever the umask; only the last component is made,
 * /data/syslog/monitor must exist. Unless the path is no directory, the umask of the whole process is 0
 * for the length of the attempt: a file that another thread makes meanwhile gets all the permissions
 * that it asks for. Nothing is logged.
 *
 * Errors: besides an existing directory, false tells of a missing or unwritable parent, a dangling
 * link at the path, or a full file system; errno is then mkdir's.
 *
 * Threads: at most one call makes the directory. No lock is taken, so two calls of this function or
 * of reportStabEventDirect() that overlap in one process may each take the other's umask for the one
 * to restore, and leave it at 0: call them from one thread at a time.
 */
WARDLINE_EXPORT bool createMonitorPath();

}  // namespace android
