#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "DeviceTest.h"

/**
 * A test in a device whose /data/syslog/monitor is empty, under the umask 077 and in the time zone UTC.
 * All of it is as before when the test ends.
 */
class MonitorTest : public DeviceTest {
  protected:
    static constexpr char kParent[] = "/data/syslog/monitor";
    static constexpr char kDirectory[] = "/data/syslog/monitor/stabevent";

    MonitorTest();
    ~MonitorTest() override;

    /** The names of all files in the monitor directory and its folders, below the directory. */
    static std::set<std::string> files();

  private:
    mode_t umask_;
};

/** The umask of this process, read without changing it. */
mode_t currentUmask();

/** Takes from the current thread what root may do against permission bits, for as long as it lives. */
class WithoutOverride {
  public:
    WithoutOverride();
    ~WithoutOverride();
    WithoutOverride(const WithoutOverride&) = delete;
    WithoutOverride& operator=(const WithoutOverride&) = delete;
};
