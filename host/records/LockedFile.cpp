#include "LockedFile.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

android::base::unique_fd openLocked(const char* path, int flags, int lock) {
    android::base::unique_fd file(open(path, flags | O_CLOEXEC, 0644));
    while (file.ok() && flock(file.get(), lock) != 0) {
        if (errno != EINTR) file.reset();
    }
    return file;
}

bool isSameFile(int one, int other) {
    struct stat first;
    struct stat second;
    return fstat(one, &first) == 0 && fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}
