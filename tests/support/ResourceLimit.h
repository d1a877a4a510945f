#pragma once

#include <sys/resource.h>

/** Lowers a limit of this process for as long as it lives. */
class ResourceLimit {
  public:
    ResourceLimit(int resource, rlim_t limit) : resource_(resource) {
        getrlimit(resource_, &old_);
        const rlimit lower = {.rlim_cur = limit, .rlim_max = old_.rlim_max};
        setrlimit(resource_, &lower);
    }
    ~ResourceLimit() { setrlimit(resource_, &old_); }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

  private:
    int resource_;
    rlimit old_ = {};
};
