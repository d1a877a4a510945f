#pragma once

#include <unistd.h>

/** Owns one descriptor. Closing leaves errno as close() leaves it. */
class ScopedFd {
  public:
    explicit ScopedFd(int fd) : fd_(fd) {}
    ~ScopedFd() { reset(); }
    ScopedFd(const ScopedFd&) = delete;
    ScopedFd& operator=(const ScopedFd&) = delete;

    bool valid() const { return fd_ >= 0; }
    int get() const { return fd_; }

    void reset() {
        if (valid()) close(fd_);
        fd_ = -1;
    }

  private:
    int fd_;
};
