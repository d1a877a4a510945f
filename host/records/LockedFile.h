#pragma once

#include <android-base/unique_fd.h>

/**
 * Opens a file and waits for a lock on it, which ends with the descriptor. flags are those of
 * open(), lock is LOCK_SH or LOCK_EX. Not ok, with errno, when it cannot be opened or locked.
 */
android::base::unique_fd openLocked(const char* path, int flags, int lock);

/** Whether two descriptors are of one file; not when one of them is of none. */
bool isSameFile(int one, int other);
