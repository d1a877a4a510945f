/**
 * The monitor directory, /data/syslog/monitor/stabevent, into which reportStabEventDirect() files
 * its events.
 */
#pragma once

#include <wardline/Export.h>

namespace android {

/**
 * Makes the monitor directory.
 *
 * @return true when this very call made the directory, or when something other than a directory has
 *         its path (a link counts as what it leads to).
 *
 * What this means for a caller: true does not promise a directory, and false does not tell that
 * there is none. The rule is deliberate: a directory that exists cannot be made, so the first call
 * returns true and every later one false. To know whether the directory is there, look at it with
 * stat(). Do not call this before reportStabEventDirect(): that function files an event only when
 * it makes the directory itself, so a directory that this call has made turns its events away.
 *
 * Effects: a directory of mode 0777 whatever the umask; only the last component is made,
 * /data/syslog/monitor must exist. Except where something other than a directory has the path, the
 * umask of the whole process is 0 for the length of the attempt: a file that another thread makes
 * meanwhile gets all the permissions that it asks for, and a process that it starts inherits the
 * umask. Nothing is logged.
 *
 * Errors: besides an existing directory, false tells of a missing or unwritable parent, a dangling
 * link at the path, or a full file system; errno is then mkdir's.
 *
 * Threads: at most one call makes the directory. No lock is taken. Two calls of this function or of
 * reportStabEventDirect() that overlap in one process may take each other's umask for their own:
 * the umask may stay 0 afterwards, and the directory may get less than 0777. Call them from one
 * thread at a time.
 */
WARDLINE_EXPORT bool createMonitorPath();

}  // namespace android
