// A process may export a getTimestamp and a createMonitorPath of its own. This one does; the
// library's reports must not use them.

#include <gtest/gtest.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/MonitorPath.h>
#include <wardline/StabEventReport.h>
#include <wardline/Timestamp.h>

#include <filesystem>

#include "proto/wardline_records.pb.h"
#include "support/MonitorTest.h"

int64_t android::getTimestamp() {
    return 1;
}

bool android::createMonitorPath() {
    return false;
}

namespace {

class SameNames : public MonitorTest {};

TEST_F(SameNames, DoNotChangeTheTimeOfAStabilityEvent) {
    android::reportStabEvent(2, 1, "a", 0, nullptr);

    EXPECT_NE(1, onlyEvent().timeMs);
}

TEST_F(SameNames, DoNotChangeTheTimeOfALockTimeout) {
    android::reportArtLockTimeout("n", "t", 1, 2, "o", "b", "x", "y");

    EXPECT_NE(1, onlyEvent().timeMs);
}

TEST_F(SameNames, DoNotChangeTheTimesOfASample) {
    setProperty("ro.build.fingerprint", "b/p/d:13/ID1/42:user/release-keys");
    android::__MemKVPair pair{};

    android::reportMemMonitorEvent(&pair, 1);

    EXPECT_NE(1, onlyEvent().timeMs);
    MemMonitorEvent event;
    ASSERT_TRUE(event.ParsePartialFromString(onlyEvent().payload));
    EXPECT_NE(1, event.timestamp_ms());
}

TEST_F(SameNames, DoNotChangeWhetherAnEventIsFiled) {
    android::reportStabEventDirect(2, 1, "a", 0, nullptr);

    EXPECT_EQ(1u, files().size());
}

}  // namespace
