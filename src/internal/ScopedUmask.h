#pragma once

#include <sys/stat.h>

/** Sets the umask, which is one for all threads of the process, for as long as it lives. */
class ScopedUmask {
  public:
    explicit ScopedUmask(mode_t mask) : old_(umask(mask)) {}
    ~ScopedUmask() { umask(old_); }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

  private:
    mode_t old_;
};
