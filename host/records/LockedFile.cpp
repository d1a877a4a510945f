#include "LockedFile.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>

android::base::unique_fd openLocked(const char* path, int flags, int lock) {
    android::base::unique_fd file(open(path, flags | O_CLOEXEC, 0644));
    while (file.ok() && flock(file.get(), lock) != 0) {
        if (errno != EINTR) file.reset();
    }
    return file;
}
