#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

/** Gives the process a time zone, in the notation of TZ, for as long as it lives. */
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        if (const char* const old = getenv("TZ")) old_ = old;
        set(zone);
    }
    ~TimeZone() { old_ ? set(old_->c_str()) : static_cast<void>(unsetenv("TZ")); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

    void set(const char* zone) { setenv("TZ", zone, 1); }

  private:
    std::optional<std::string> old_;
};
