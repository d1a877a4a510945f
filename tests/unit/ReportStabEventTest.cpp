// android::reportStabEvent: the record that it builds and the way that it hands it over.

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>
#include <wardline/StabEventReport.h>

#include <limits>
#include <map>
#include <new>
#include <thread>
#include <utility>

#include "proto/wardline_records.pb.h"
#include "support/Allocations.h"
#include "support/DeviceTest.h"
#include "support/Errors.h"
#include "support/FixedClock.h"
#include "support/Meanwhile.h"
#include "support/WireBytes.h"

namespace {

using android::reportStabEvent;
using Data = std::map<std::string, std::string>;

class ReportStabEvent : public DeviceTest {
  protected:
    static StabEvent parsed(const BufferedEvent& event) {
        StabEvent record;
        EXPECT_TRUE(record.ParseFromString(event.payload));
        return record;
    }
};

TEST_F(ReportStabEvent, HandsTheRecordToTheSingleFileOperationWithId36AndTheCallersTime) {
    reportStabEvent(2, 300, "ab", 1700000000123, nullptr);

    const BufferedEvent event = onlyEvent();
    EXPECT_EQ(EventOperation::kSingleFileWrites, event.operation);
    EXPECT_EQ(36, event.eventId);
    EXPECT_EQ(1700000000123, event.timeMs);
    EXPECT_EQ(bytesOf("08 02 12 02 61 62 18 AC 02 20 FB D0 95 FF BC 31"), event.payload);
}

TEST_F(ReportStabEvent, CallsTheBufferOnceAndNothingElse) {
    const Data data = {{"k", "v"}};

    reportStabEvent(2, 300, "ab", 0, &data);

    EXPECT_EQ((std::vector<std::string>{"single_file_writes 36"}), calls());
}

TEST_F(ReportStabEvent, TakesAnyTimeOtherThanZeroUnchanged) {
    reportStabEvent(2, 1, "a", 1, nullptr);

    EXPECT_EQ(1, onlyEvent().timeMs);
    EXPECT_EQ(1u, parsed(onlyEvent()).timestamp_ms());
}

TEST_F(ReportStabEvent, TakesTheGreatestTimeUnchanged) {
    reportStabEvent(2, 1, "a", std::numeric_limits<unsigned long>::max(), nullptr);

    EXPECT_EQ(-1, onlyEvent().timeMs);
    EXPECT_EQ(std::numeric_limits<uint64_t>::max(), parsed(onlyEvent()).timestamp_ms());
}

TEST_F(ReportStabEvent, TakesTheCurrentTimeForZero) {
    const int64_t before = nowMs();
    reportStabEvent(2, 1, "a", 0, nullptr);
    const int64_t after = nowMs();

    EXPECT_LE(before, onlyEvent().timeMs);
    EXPECT_GE(after, onlyEvent().timeMs);
}

TEST_F(ReportStabEvent, CarriesTheCurrentTimeInTheRecordToo) {
    reportStabEvent(2, 1, "a", 0, nullptr);

    EXPECT_EQ(static_cast<uint64_t>(onlyEvent().timeMs), parsed(onlyEvent()).timestamp_ms());
}

TEST_F(ReportStabEvent, ComputesTheTimeFromSecondsAndMicrosecondsTruncating) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 999999});

    reportStabEvent(2, 1, "a", 0, nullptr);

    EXPECT_EQ(1700000000999, onlyEvent().timeMs);
}

TEST_F(ReportStabEvent, ReadsTheClockOnlyForTimeZero) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});

    reportStabEvent(2, 1, "a", 5, nullptr);
    EXPECT_EQ(0, clock.readings());

    reportStabEvent(2, 1, "a", 0, nullptr);
    EXPECT_EQ(1, clock.readings());
}

TEST_F(ReportStabEvent, WritesAllFourFieldsAlsoWhenTheyAreZeroOrEmpty) {
    reportStabEvent(0, 0, "", 1, nullptr);

    EXPECT_EQ(bytesOf("08 00 12 00 18 00 20 01"), onlyEvent().payload);
}

TEST_F(ReportStabEvent, StoresANegativePidAsIts32BitPattern) {
    reportStabEvent(2, -1, "a", 1, nullptr);

    EXPECT_EQ(bytesOf("08 02 12 01 61 18 FF FF FF FF 0F 20 01"), onlyEvent().payload);
}

TEST_F(ReportStabEvent, StoresANegativeEventTypeAsIts32BitPattern) {
    reportStabEvent(-2, 1, "a", 1, nullptr);

    EXPECT_EQ(bytesOf("08 FE FF FF FF 0F 12 01 61 18 01 20 01"), onlyEvent().payload);
}

TEST_F(ReportStabEvent, CopiesTheWholeProcessNameWhateverItsBytes) {
    const std::string name = std::string(1000, 'n') + '\0' + "\xff%s";

    reportStabEvent(2, 1, name, 1, nullptr);

    EXPECT_EQ(name, parsed(onlyEvent()).process_name());
}

TEST_F(ReportStabEvent, WritesTheSameBytesForANullAndAnEmptyMap) {
    const Data empty;

    reportStabEvent(2, 1, "a", 1, nullptr);
    reportStabEvent(2, 1, "a", 1, &empty);

    ASSERT_EQ(2u, events().size());
    EXPECT_EQ(bytesOf("08 02 12 01 61 18 01 20 01"), events()[0].payload);
    EXPECT_EQ(events()[0].payload, events()[1].payload);
}

TEST_F(ReportStabEvent, WritesAMapEntryAfterTheFourFields) {
    const Data data = {{"k", "vw"}};

    reportStabEvent(2, 1, "a", 1, &data);

    EXPECT_EQ(bytesOf("08 02 12 01 61 18 01 20 01 2A 07 0A 01 6B 12 02 76 77"),
              onlyEvent().payload);
}

TEST_F(ReportStabEvent, CopiesEveryMapEntry) {
    const Data cases[] = {{{"a", "1"}, {"b", "2"}, {"", "v"}, {"k", ""}},
                          {{"", ""}},
                          {{std::string("n\0l", 3), "\xff"}}};
    for (const Data& data : cases) {
        reportStabEvent(2, 1, "a", 1, &data);

        const StabEvent record = parsed(events().back());
        EXPECT_EQ(data, Data(record.data().begin(), record.data().end()));
    }
}

TEST_F(ReportStabEvent, HandsOverABufferOfExactlyTheRecordsLength) {
    Allocations allocations;

    reportStabEvent(2, 300, "ab", 1, nullptr);

    EXPECT_EQ(11u, allocations.sizeOf(lastPayloadPointer()));
    EXPECT_EQ(11u, onlyEvent().payload.size());
}

TEST_F(ReportStabEvent, KeepsTheBufferUntilTheOperationHasReturnedAndNoLonger) {
    Allocations allocations;
    bool heldAtReturn = false;
    observeReturns(
        [&](const std::string&) { heldAtReturn = allocations.isHeld(lastPayloadPointer()); });

    reportStabEvent(2, 300, "ab", 1, nullptr);

    EXPECT_TRUE(heldAtReturn);
    EXPECT_FALSE(allocations.isHeld(lastPayloadPointer()));
}

TEST_F(ReportStabEvent, LeavesNothingAllocated) {
    const Data data = {{"key", std::string(100, 'v')}};
    const std::string name(100, 'n');
    reportStabEvent(2, 300, "", 1, nullptr);  // Whatever is allocated once, is now.
    resetTrace();
    Allocations allocations;

    reportStabEvent(2, 300, name, 1, &data);

    resetTrace();  // Forgets the notes that were taken meanwhile.
    EXPECT_EQ(0, allocations.held());
}

TEST_F(ReportStabEvent, LetsAFailedAllocationThrough) {
    Allocations allocations;

    EXPECT_ERROR(
        {
            allocations.fail(11);
            reportStabEvent(2, 300, "ab", 1, nullptr);
        },
        std::bad_alloc);

    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportStabEvent, DoesNotWaitForAnotherReport) {
    bool first = true;
    observeCalls([&](const std::string&) {
        if (!std::exchange(first, false)) return;
        doMeanwhile([] { reportStabEvent(2, 2, "meanwhile", 2, nullptr); });
    });

    reportStabEvent(2, 1, "first", 1, nullptr);

    ASSERT_EQ(2u, events().size());
    EXPECT_EQ("meanwhile", parsed(events()[0]).process_name());
    EXPECT_EQ("first", parsed(events()[1]).process_name());
}

TEST_F(ReportStabEvent, ReturnsSilentlyWhenTheBufferRefusesTheRecord) {
    ASSERT_EQ(0, unlink("/dev/sysevents_buf"));

    reportStabEvent(2, 1, "a", 1, nullptr);

    EXPECT_EQ((std::vector<std::string>{"single_file_writes 36"}), calls());
}

TEST_F(ReportStabEvent, LosesAndMixesUpNothingUnderEightThreads) {
    constexpr int kThreads = 8;
    constexpr int kReports = 10000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            const std::string name = "thread " + std::to_string(thread);
            for (int i = 0; i < kReports; ++i) {
                const Data data = {{name, std::to_string(i)}};
                reportStabEvent(thread, i, name, 1 + i, &data);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(kThreads, 0);
    for (const BufferedEvent& event : events()) {
        const StabEvent record = parsed(event);
        const uint32_t thread = record.event_type();
        ASSERT_LT(thread, next.size());
        const int i = next[thread]++;
        const std::string name = "thread " + std::to_string(thread);
        ASSERT_EQ(name, record.process_name());
        ASSERT_EQ(static_cast<uint32_t>(i), record.pid());
        ASSERT_EQ(static_cast<uint64_t>(1 + i), record.timestamp_ms());
        ASSERT_EQ(1 + i, event.timeMs);
        ASSERT_EQ((Data{{name, std::to_string(i)}}),
                  Data(record.data().begin(), record.data().end()));
    }
    EXPECT_EQ(std::vector<int>(kThreads, kReports), next);
}

}  // namespace
