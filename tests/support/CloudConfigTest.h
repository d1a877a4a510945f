#pragma once

#include <wardline/CloudConfig.h>

#include <string>

#include "Await.h"
#include "DeviceTest.h"

/**
 * A test in a device whose /data/syslog/settings is empty. The configuration and its watcher are
 * one for the process, so each of these tests needs a process of its own.
 */
class CloudConfigTest : public DeviceTest {
  protected:
    static constexpr char kDirectory[] = "/data/syslog/settings";
    static constexpr char kFile[] = "/data/syslog/settings/stab_cloud_config.json";

    /** The call that tells that the watch is in place. */
    static constexpr char kWatching[] =
        "log 4 Successfully initialized inotify for file: /data/syslog/settings";

    CloudConfigTest();

    /** Lets the process have no watcher. */
    static void withoutWatcher();

    /**
     * Changes the configuration file, or makes it, so that no watcher reads half of it: by one
     * write without truncation, filled up with spaces where text is shorter than what the file
     * holds.
     */
    static void deliver(const std::string& text);

    /** The ERROR line about a file that cannot be opened. */
    static LogLine cannotOpen(int error);
};

/** A configuration as a text of one line. */
std::string describe(const android::__StabCloudConfig& config);
