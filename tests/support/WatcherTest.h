#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "CloudConfigTest.h"
#include "Deliveries.h"

/** A test of a watched configuration. */
class WatcherTest : public CloudConfigTest {
  protected:
    /** Waits for a change that is being handled: at exit, what the watcher uses is destroyed. */
    ~WatcherTest() override;

    /** Makes version 1 known and watched, with one subscriber or none. */
    static void start(void (*subscriber)(android::__StabCloudConfig&) = subscriberA);

    /** A file that holds nothing but a version. */
    static std::string version(int number);

    static std::string pathOf(const std::string& name);

    /** Modifies another file of the directory, so that events before and after do not merge. */
    static void modifyOther();

    /** Expects these deliveries to subscriberA and no others: two later ones must follow at once. */
    static void expectOnly(std::vector<std::string> delivered);

    /** The line that tells that the watch is in place. */
    static LogLine info();
    static LogLine error(const std::string& text);

    /** The thread that said last that it watches. */
    static pid_t watcher() { return callerOf(kWatching); }
};
