#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "DeviceTest.h"
#include "TimeZone.h"

/**
 * A test in a device whose /data/syslog/monitor is empty, under the umask 077 and in the time zone
 * UTC. Umask and time zone are as before when the test ends, and the directory is empty again.
 */
class MonitorTest : public DeviceTest {
  protected:
    static constexpr char kParent[] = "/data/syslog/monitor";
    static constexpr char kDirectory[] = "/data/syslog/monitor/stabevent";

    MonitorTest();
    ~MonitorTest() override;

    /** The names of all files in the monitor directory and its folders, below the directory. */
    static std::set<std::string> files();

    TimeZone zone_{"UTC0"};

  private:
    mode_t umask_;
};

/** The umask of this process, read without changing it. */
mode_t currentUmask();

/** While it lives, the current thread obeys permission bits, even as root. */
class WithoutOverride {
  public:
    WithoutOverride();
    ~WithoutOverride();
    WithoutOverride(const WithoutOverride&) = delete;
    WithoutOverride& operator=(const WithoutOverride&) = delete;
};
