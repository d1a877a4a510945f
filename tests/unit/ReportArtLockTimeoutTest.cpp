// android::reportArtLockTimeout: the log line, and the record as it reaches the event buffer.

#include <gtest/gtest.h>
#include <unistd.h>
#include <wardline/ArtLockTimeoutReport.h>

#include <limits>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "proto/wardline_records.pb.h"
#include "support/Allocations.h"
#include "support/DeviceTest.h"
#include "support/Errors.h"
#include "support/FixedClock.h"
#include "support/Meanwhile.h"
#include "support/WireBytes.h"

namespace {

using android::reportArtLockTimeout;
using Calls = std::vector<std::string>;

constexpr unsigned long kMax = std::numeric_limits<unsigned long>::max();

// What reportSample() logs and sends.
const std::string kSampleLine =
    "reportArtLockTimeout : n, timestamp: t, wati_time: 300, owner: 7: o, object: b";
const std::string kSampleRecord =
    "0A 17 0A 01 6E 12 01 74 18 AC 02 20 07 2A 01 6F 32 01 62 3A 01 78 42 01 79";

void reportSample() {
    reportArtLockTimeout("n", "t", 300, 7, "o", "b", "x", "y");
}

class ReportArtLockTimeout : public DeviceTest {
  protected:
    /** The one timeout in a record. */
    static ArtLockTimeout onlyTimeout(const BufferedEvent& event) {
        ArtLockTimeoutData data;
        EXPECT_TRUE(data.ParseFromString(event.payload));
        EXPECT_EQ(1, data.timeouts_size());
        return data.timeouts_size() == 0 ? ArtLockTimeout() : data.timeouts(0);
    }

    static std::vector<LogLine> debugLine(const std::string& text) {
        return {{3, "libwardline", text}};
    }
};

TEST_F(ReportArtLockTimeout, HandsTheRecordToTheWritesOperationWithId39) {
    reportSample();

    EXPECT_EQ(EventOperation::kWrites, onlyEvent().operation);
    EXPECT_EQ(39, onlyEvent().eventId);
    EXPECT_EQ(bytesOf(kSampleRecord), onlyEvent().payload);
}

TEST_F(ReportArtLockTimeout, LogsThenReadsTheClockThenCallsTheBuffer) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});

    reportSample();

    EXPECT_EQ((Calls{"log 3 " + kSampleLine, "gettimeofday", "writes 39"}), calls());
}

TEST_F(ReportArtLockTimeout, LogsOneDebugLine) {
    reportSample();

    EXPECT_EQ(debugLine(kSampleLine), logLines());
}

TEST_F(ReportArtLockTimeout, SetsEveryFieldAlsoToZeroOrEmpty) {
    reportArtLockTimeout("", "", 0, 0, "", "", "", "");

    EXPECT_EQ(bytesOf("0A 10 0A 00 12 00 18 00 20 00 2A 00 32 00 3A 00 42 00"),
              onlyEvent().payload);
    EXPECT_EQ(debugLine("reportArtLockTimeout : , timestamp: , wati_time: 0, owner: 0: , object: "),
              logLines());
}

TEST_F(ReportArtLockTimeout, TakesTheGreatestNumbersUnsigned) {
    reportArtLockTimeout("n", "t", kMax, kMax - 1, "o", "b", "x", "y");

    EXPECT_EQ(debugLine("reportArtLockTimeout : n, timestamp: t, wati_time: 18446744073709551615, "
                        "owner: 18446744073709551614: o, object: b"),
              logLines());
    EXPECT_EQ(kMax, onlyTimeout(onlyEvent()).wait_time());
    EXPECT_EQ(kMax - 1, onlyTimeout(onlyEvent()).owner());
}

TEST_F(ReportArtLockTimeout, KeepsTheExtrasOutOfTheLog) {
    reportArtLockTimeout("n", "t", 1, 2, "o", "b", "first extra", "second extra");

    EXPECT_EQ(debugLine("reportArtLockTimeout : n, timestamp: t, wati_time: 1, owner: 2: o, "
                        "object: b"),
              logLines());
    EXPECT_EQ("first extra", onlyTimeout(onlyEvent()).extra1());
    EXPECT_EQ("second extra", onlyTimeout(onlyEvent()).extra2());
}

TEST_F(ReportArtLockTimeout, TakesPercentSignsAsTheyAre) {
    reportArtLockTimeout("%s%n", "%d %%", 1, 2, "100%", "%", "%s", "%n");

    EXPECT_EQ(debugLine("reportArtLockTimeout : %s%n, timestamp: %d %%, wati_time: 1, owner: 2: "
                        "100%, object: %"),
              logLines());
    EXPECT_EQ("%s%n", onlyTimeout(onlyEvent()).name());
    EXPECT_EQ("%d %%", onlyTimeout(onlyEvent()).timestamp());
}

TEST_F(ReportArtLockTimeout, PassesLongTextsWhole) {
    const std::string n(5000, 'n');
    const std::string t(3000, 't');
    const std::string o(4000, 'o');
    const std::string b(70'000, 'b');

    reportArtLockTimeout(n, t, 1, 2, o, b, n + t, o + b);

    EXPECT_EQ(debugLine("reportArtLockTimeout : " + n + ", timestamp: " + t +
                        ", wati_time: 1, owner: 2: " + o + ", object: " + b),
              logLines());
    const ArtLockTimeout timeout = onlyTimeout(onlyEvent());
    EXPECT_EQ(n, timeout.name());
    EXPECT_EQ(t, timeout.timestamp());
    EXPECT_EQ(o, timeout.owner_desc());
    EXPECT_EQ(b, timeout.object());
    EXPECT_EQ(n + t, timeout.extra1());
    EXPECT_EQ(o + b, timeout.extra2());
}

TEST_F(ReportArtLockTimeout, LogsTextsUpToTheirFirstNulAndSendsThemWhole) {
    const std::string text("a\0b\xff\n", 5);

    reportArtLockTimeout(text, text, 1, 2, text, text, text, text);

    EXPECT_EQ(debugLine("reportArtLockTimeout : a, timestamp: a, wati_time: 1, owner: 2: a, "
                        "object: a"),
              logLines());
    const ArtLockTimeout timeout = onlyTimeout(onlyEvent());
    for (const std::string& sent : {timeout.name(), timeout.timestamp(), timeout.owner_desc(),
                                    timeout.object(), timeout.extra1(), timeout.extra2()}) {
        EXPECT_EQ(text, sent);
    }
}

// The time.

TEST_F(ReportArtLockTimeout, PassesTheCurrentTime) {
    const int64_t before = nowMs();
    reportSample();
    const int64_t after = nowMs();

    EXPECT_LE(before, onlyEvent().timeMs);
    EXPECT_GE(after, onlyEvent().timeMs);
}

TEST_F(ReportArtLockTimeout, ComputesTheTimeFromSecondsAndMicrosecondsTruncating) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 999999});

    reportSample();

    EXPECT_EQ(1700000000999, onlyEvent().timeMs);
}

TEST_F(ReportArtLockTimeout, DoesNotLookAtTheTimestampText) {
    const FixedClock clock({.tv_sec = 5, .tv_usec = 0});

    reportArtLockTimeout("n", "1700000000123", 1, 2, "o", "b", "x", "y");

    EXPECT_EQ(5000, onlyEvent().timeMs);
    EXPECT_EQ("1700000000123", onlyTimeout(onlyEvent()).timestamp());
    EXPECT_EQ(1, clock.readings());
}

TEST_F(ReportArtLockTimeout, ReadsTheClockAfterTheRecordIsSerialised) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    constexpr size_t kRecordSize = 25;
    int held = -1;
    Allocations allocations;
    observeCalls([&](const std::string& call) {
        if (call == "gettimeofday") held = allocations.heldOfSize(kRecordSize);
    });

    reportSample();

    EXPECT_EQ(kRecordSize, onlyEvent().payload.size());
    EXPECT_EQ(1, held);
}

// The buffer.

TEST_F(ReportArtLockTimeout, HandsOverABufferOfExactlyTheRecordsLength) {
    Allocations allocations;

    reportSample();

    EXPECT_EQ(25u, allocations.sizeOf(lastPayloadPointer()));
}

TEST_F(ReportArtLockTimeout, KeepsTheBufferUntilTheOperationHasReturnedAndNoLonger) {
    Allocations allocations;
    bool heldAtReturn = false;
    observeReturns([&](const std::string& call) {
        if (call == "writes 39") heldAtReturn = allocations.isHeld(lastPayloadPointer());
    });

    reportSample();

    EXPECT_TRUE(heldAtReturn);
    EXPECT_FALSE(allocations.isHeld(lastPayloadPointer()));
}

TEST_F(ReportArtLockTimeout, LeavesNothingAllocated) {
    const std::string text(100, 't');
    reportSample();  // Whatever is allocated once, is now.
    resetTrace();
    Allocations allocations;

    reportArtLockTimeout(text, text, 1, 2, text, text, text, text);

    resetTrace();  // Forgets the notes that were taken meanwhile.
    EXPECT_EQ(0, allocations.held());
}

TEST_F(ReportArtLockTimeout, LetsAFailedAllocationThrough) {
    Allocations allocations;

    EXPECT_ERROR(
        {
            allocations.fail(25);
            reportSample();
        },
        std::bad_alloc);

    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportArtLockTimeout, ReturnsSilentlyWhenTheBufferRefusesTheRecord) {
    ASSERT_EQ(0, unlink("/dev/sysevents_buf"));

    reportSample();

    EXPECT_EQ((Calls{"log 3 " + kSampleLine, "writes 39"}), calls());
}

// Threads.

TEST_F(ReportArtLockTimeout, DoesNotWaitForAnotherReport) {
    for (const char* step : {"log", "writes"}) {
        bool isFirst = true;
        observeCalls([&](const std::string& call) {
            if (!call.starts_with(step) || !std::exchange(isFirst, false)) return;
            doMeanwhile([] { reportArtLockTimeout("meanwhile", "", 0, 0, "", "", "", ""); });
        });

        reportSample();

        ASSERT_LE(2u, events().size());
        EXPECT_EQ("meanwhile", onlyTimeout(events().end()[-2]).name());
        EXPECT_EQ("n", onlyTimeout(events().back()).name());
        resetTrace();
    }
}

TEST_F(ReportArtLockTimeout, LosesAndMixesUpNothingUnderEightThreads) {
    constexpr int kThreads = 8;
    constexpr int kReports = 1000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            const std::string text = "thread " + std::to_string(thread);
            for (int i = 0; i < kReports; ++i)
                reportArtLockTimeout(text, text, i, thread, text, text, text, text);
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(kThreads, 0);
    for (const BufferedEvent& event : events()) {
        const ArtLockTimeout timeout = onlyTimeout(event);
        ASSERT_LT(timeout.owner(), next.size());
        ASSERT_EQ(static_cast<uint64_t>(next[timeout.owner()]++), timeout.wait_time());
        const std::string text = "thread " + std::to_string(timeout.owner());
        for (const std::string& sent : {timeout.name(), timeout.timestamp(), timeout.owner_desc(),
                                        timeout.object(), timeout.extra1(), timeout.extra2()}) {
            ASSERT_EQ(text, sent);
        }
    }
    EXPECT_EQ(std::vector<int>(kThreads, kReports), next);
    EXPECT_EQ(static_cast<size_t>(kThreads * kReports), logLines().size());
}

}  // namespace
