// android::reportMemMonitorEvent: the record that it builds, the order of its steps and its log.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wardline/DeviceInfo.h>
#include <wardline/MemMonitorEventReport.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "support/Allocations.h"
#include "support/Errors.h"
#include "support/FixedClock.h"
#include "support/Meanwhile.h"
#include "support/MemMonitorTest.h"
#include "support/WireBytes.h"

namespace {

using android::__MemKVPair;
using android::MemKVPairArray;
using android::reportMemMonitorEvent;
using Calls = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

// The eight device strings of MemMonitorTest::kFingerprint on the wire.
const std::string kDeviceFields =
    "1A 01 62 22 01 70 2A 01 64 32 02 31 33 3A 03 49 44 31 42 02 34 32 4A 04 75 73 65 72"
    "52 0C 72 65 6C 65 61 73 65 2D 6B 65 79 73";

class ReportMemMonitorEvent : public MemMonitorTest {
  protected:
    static void report(MemKVPairArray& sample) {
        reportMemMonitorEvent(sample.data(), sample.size());
    }

    /** The elements of the one event, each as its bytes. */
    static std::vector<std::string> elements() {
        const MemMonitorEvent event = parsed(onlyEvent());
        std::vector<std::string> all;
        for (const KeyValue& element : event.kvs())
            all.push_back(element.SerializePartialAsString());
        return all;
    }

    /** The log lines of these texts. */
    static std::vector<LogLine> errors(const std::vector<std::string>& texts) {
        std::vector<LogLine> lines;
        for (const std::string& text : texts)
            lines.push_back({6, "libwardline", text});
        return lines;
    }
};

// The record.

TEST_F(ReportMemMonitorEvent, HandsTheRecordToTheWritesOperationWithId89) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0}, {.tv_sec = 2, .tv_nsec = 0});

    reportSample();

    EXPECT_EQ(EventOperation::kWrites, onlyEvent().operation);
    EXPECT_EQ(89, onlyEvent().eventId);
    EXPECT_EQ(bytesOf("08 E8 07 10 D0 0F" + kDeviceFields + "5A 05 0A 03 72 73 73 5A 03 20 D2 09"),
              onlyEvent().payload);
}

TEST_F(ReportMemMonitorEvent, SendsEachPairAsAnElementWithItsKeyAndOneWithItsValue) {
    MemKVPairArray sample;
    sample.addString("a", "text");
    sample.addInt32("b", -1);
    sample.addInt64("c", std::numeric_limits<int64_t>::min());
    sample.addUint32("d", std::numeric_limits<uint32_t>::max());
    sample.addUint64("e", std::numeric_limits<uint64_t>::max());
    sample.addBool("f", true);
    sample.addDouble("g", 1.5);
    sample.addFloat("h", 1.5F);
    sample.addBytes("i", {0, 255, 128});

    report(sample);

    EXPECT_EQ(
        (std::vector<std::string>{bytesOf("0A 01 61"), bytesOf("12 04 74 65 78 74"),  //
                                  bytesOf("0A 01 62"), bytesOf("18 FF FF FF FF FF FF FF FF FF 01"),
                                  bytesOf("0A 01 63"), bytesOf("20 80 80 80 80 80 80 80 80 80 01"),
                                  bytesOf("0A 01 64"), bytesOf("28 FF FF FF FF 0F"),  //
                                  bytesOf("0A 01 65"), bytesOf("30 FF FF FF FF FF FF FF FF FF 01"),
                                  bytesOf("0A 01 66"), bytesOf("38 01"),  //
                                  bytesOf("0A 01 67"), bytesOf("41 00 00 00 00 00 00 F8 3F"),
                                  bytesOf("0A 01 68"), bytesOf("4D 00 00 C0 3F"),  //
                                  bytesOf("0A 01 69"), bytesOf("52 03 00 FF 80")}),
        elements());
}

TEST_F(ReportMemMonitorEvent, SetsEachMemberAlsoToZeroOrEmpty) {
    MemKVPairArray sample;
    sample.addString("", "");
    sample.addInt32("", 0);
    sample.addInt64("", 0);
    sample.addUint32("", 0);
    sample.addUint64("", 0);
    sample.addDouble("", 0);
    sample.addFloat("", 0);
    sample.addBytes("", {});

    report(sample);

    const std::string key = bytesOf("0A 00");
    EXPECT_EQ(
        (std::vector<std::string>{key, bytesOf("12 00"), key, bytesOf("18 00"), key,
                                  bytesOf("20 00"), key, bytesOf("28 00"), key, bytesOf("30 00"),
                                  key, bytesOf("41 00 00 00 00 00 00 00 00"), key,
                                  bytesOf("4D 00 00 00 00"), key, bytesOf("52 00")}),
        elements());
}

TEST_F(ReportMemMonitorEvent, SendsTrueForABooleanThatIsFalse) {
    MemKVPairArray sample;
    sample.addBool("a", false);

    report(sample);

    EXPECT_EQ((std::vector<std::string>{bytesOf("0A 01 61"), bytesOf("38 01")}), elements());
    EXPECT_FALSE(sample.data()->value.bool_value);
}

TEST_F(ReportMemMonitorEvent, KeepsTheBitsOfFloatingPointNumbers) {
    MemKVPairArray sample;
    sample.addDouble("", -0.0);
    sample.addDouble("", std::numeric_limits<double>::denorm_min());
    sample.addDouble("", -std::numeric_limits<double>::infinity());
    sample.addFloat("", std::numeric_limits<float>::quiet_NaN());

    report(sample);

    const std::string key = bytesOf("0A 00");
    EXPECT_EQ(
        (std::vector<std::string>{
            key, bytesOf("41 00 00 00 00 00 00 00 80"), key, bytesOf("41 01 00 00 00 00 00 00 00"),
            key, bytesOf("41 00 00 00 00 00 00 F0 FF"), key, bytesOf("4D 00 00 C0 7F")}),
        elements());
}

TEST_F(ReportMemMonitorEvent, TakesTextsWholeWithAnyBytes) {
    const std::string odd("a\0%s\xc3\x28\xff", 7);
    const std::string large(8 << 20, '\xff');
    MemKVPairArray sample;
    sample.addString(odd, odd);
    sample.addString(large, large);
    sample.addBytes(odd, Bytes(1 << 20, 0));

    report(sample);

    const MemMonitorEvent event = parsed(onlyEvent());
    ASSERT_EQ(6, event.kvs_size());
    EXPECT_EQ(odd, event.kvs(0).key());
    EXPECT_EQ(odd, event.kvs(1).string_value());
    EXPECT_EQ(large, event.kvs(2).key());
    EXPECT_EQ(large, event.kvs(3).string_value());
    EXPECT_EQ(odd, event.kvs(4).key());
    EXPECT_EQ(std::string(1 << 20, '\0'), event.kvs(5).bytes_value());
}

TEST_F(ReportMemMonitorEvent, IsNotInitialisedAndYetWhole) {
    reportSample();

    const MemMonitorEvent event = parsed(onlyEvent());
    EXPECT_FALSE(event.IsInitialized());
    ASSERT_EQ(2, event.kvs_size());
    EXPECT_TRUE(event.kvs(0).has_key());
    EXPECT_EQ("rss", event.kvs(0).key());
    EXPECT_EQ(KeyValue::VALUE_NOT_SET, event.kvs(0).value_case());
    EXPECT_FALSE(event.kvs(1).has_key());
    EXPECT_EQ(1234, event.kvs(1).int64_value());
}

TEST_F(ReportMemMonitorEvent, SetsAllTenFieldsBesideThePairs) {
    reportSample();

    const MemMonitorEvent event = parsed(onlyEvent());
    EXPECT_TRUE(event.has_timestamp_ms() && event.has_uptime_ms() && event.has_brand() &&
                event.has_product() && event.has_device() && event.has_release() &&
                event.has_build_id() && event.has_incremental() && event.has_build_type() &&
                event.has_tags());
}

TEST_F(ReportMemMonitorEvent, KeepsTheOrderOfTenThousandPairs) {
    constexpr int kPairs = 10'000;
    MemKVPairArray sample;
    for (int i = 0; i < kPairs; ++i) {
        const std::string key = "key " + std::to_string(i);
        i % 2 == 0 ? sample.addInt32(key, i) : sample.addString(key, key);
    }

    report(sample);

    const MemMonitorEvent event = parsed(onlyEvent());
    ASSERT_EQ(2 * kPairs, event.kvs_size());
    for (int i = 0; i < kPairs; ++i) {
        const std::string key = "key " + std::to_string(i);
        ASSERT_EQ(key, event.kvs(2 * i).key());
        ASSERT_EQ(i % 2 == 0 ? i : 0, event.kvs(2 * i + 1).int32_value());
        ASSERT_EQ(i % 2 == 0 ? "" : key, event.kvs(2 * i + 1).string_value());
    }
}

TEST_F(ReportMemMonitorEvent, TakesMorePairsThan16BitsCount) {
    constexpr int kPairs = 70'000;
    MemKVPairArray sample;
    for (int i = 0; i < kPairs; ++i)
        sample.addInt32("", i);

    report(sample);

    const MemMonitorEvent event = parsed(onlyEvent());
    ASSERT_EQ(2 * kPairs, event.kvs_size());
    EXPECT_EQ(kPairs - 1, event.kvs(2 * kPairs - 1).int32_value());
}

TEST_F(ReportMemMonitorEvent, LooksAtAsManyPairsAsItIsTold) {
    MemKVPairArray sample;
    sample.addInt32("a", 1);
    sample.addInt32("b", 2);
    sample.addInt32("c", 3);
    sample.data()[2].type = 9;

    reportMemMonitorEvent(sample.data(), 2);

    EXPECT_EQ(4, parsed(onlyEvent()).kvs_size());
}

TEST_F(ReportMemMonitorEvent, SendsTheEmptyValueOfAPairThatGotANullPointer) {
    const std::string text(100, 'x');
    const Bytes bytes(100);
    MemKVPairArray sample;
    sample.addString("a", text);
    sample.addBytes("b", bytes);
    __MemKVPair* const pairs = sample.data();
    EXPECT_FALSE(android::setMemKVPairValue(&pairs[0], 0, static_cast<std::string*>(nullptr)));
    EXPECT_FALSE(android::setMemKVPairValue(&pairs[1], 8, static_cast<Bytes*>(nullptr)));

    report(sample);

    EXPECT_EQ((std::vector<std::string>{bytesOf("0A 01 61"), bytesOf("12 00"), bytesOf("0A 01 62"),
                                        bytesOf("52 00")}),
              elements());
}

TEST_F(ReportMemMonitorEvent, OnlyReadsThePairs) {
    const size_t pageBytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* const page =
        mmap(nullptr, pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, page);
    auto* const pairs = static_cast<__MemKVPair*>(page);
    std::uninitialized_value_construct_n(pairs, 2);
    pairs[0].key = "a";
    const std::string text = "text";
    android::setMemKVPairValue(&pairs[0], 0, &text);
    android::setMemKVPairValue(&pairs[1], 5, false);
    mprotect(page, pageBytes, PROT_READ);

    reportMemMonitorEvent(pairs, 2);

    EXPECT_EQ((std::vector<std::string>{bytesOf("0A 01 61"), bytesOf("12 04 74 65 78 74"),
                                        bytesOf("0A 00"), bytesOf("38 01")}),
              elements());
    munmap(page, pageBytes);
}

// Clocks and steps.

TEST_F(ReportMemMonitorEvent, ReadsBothClocksThenTheFingerprintThenTheTimeForTheBuffer) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0}, {.tv_sec = 2, .tv_nsec = 0});

    reportSample();

    EXPECT_EQ((Calls{"clock_gettime 1", "gettimeofday", kFingerprintRead, "log 6 et size: 60",
                     "gettimeofday", "writes 89"}),
              calls());
    EXPECT_EQ(60u, onlyEvent().payload.size());
}

TEST_F(ReportMemMonitorEvent, ReadsTheClocksButNotTheFingerprintOnceItIsCached) {
    reportSample();
    resetTrace();
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0}, {.tv_sec = 2, .tv_nsec = 0});

    reportSample();

    EXPECT_EQ((Calls{"clock_gettime 1", "gettimeofday", "log 6 et size: 60", "gettimeofday",
                     "writes 89"}),
              calls());
}

TEST_F(ReportMemMonitorEvent, ComputesTheTimesTruncating) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 999999},
                           {.tv_sec = 12345678, .tv_nsec = 999999999});

    reportSample();

    EXPECT_EQ(1700000000999, parsed(onlyEvent()).timestamp_ms());
    EXPECT_EQ(12345678999, parsed(onlyEvent()).uptime_ms());
    EXPECT_EQ(1700000000999, onlyEvent().timeMs);
}

TEST_F(ReportMemMonitorEvent, PassesATimeOfItsOwnThatIsReadAfterTheSizeLine) {
    FixedClock clock({.tv_sec = 5, .tv_usec = 0}, {.tv_sec = 7, .tv_nsec = 0});
    observeCalls([&](const std::string& call) {
        if (call.starts_with("log 6 et size")) clock.setTimeOfDay({.tv_sec = 6, .tv_usec = 1999});
    });

    reportSample();

    EXPECT_EQ(7000, parsed(onlyEvent()).uptime_ms());
    EXPECT_EQ(5000, parsed(onlyEvent()).timestamp_ms());
    EXPECT_EQ(6001, onlyEvent().timeMs);
    EXPECT_EQ(2, clock.readings());
}

TEST_F(ReportMemMonitorEvent, CarriesTheCurrentTimes) {
    const auto monotonicMs = [] {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1000 + now.tv_nsec / 1'000'000;
    };
    const int64_t before = nowMs();
    const int64_t monotonicBefore = monotonicMs();
    reportSample();
    const int64_t monotonicAfter = monotonicMs();
    const int64_t after = nowMs();

    const MemMonitorEvent event = parsed(onlyEvent());
    EXPECT_LE(monotonicBefore, event.uptime_ms());
    EXPECT_GE(monotonicAfter, event.uptime_ms());
    EXPECT_LE(before, event.timestamp_ms());
    EXPECT_LE(event.timestamp_ms(), onlyEvent().timeMs);
    EXPECT_GE(after, onlyEvent().timeMs);
}

TEST_F(ReportMemMonitorEvent, LogsTheSizeOfTheRecordAsAnError) {
    MemKVPairArray sample;
    sample.addString("a", std::string(100'000, 'x'));

    report(sample);

    EXPECT_EQ(errors({"et size: " + std::to_string(onlyEvent().payload.size())}), logLines());
    EXPECT_LT(100'000u, onlyEvent().payload.size());
}

// Refusals.

TEST_F(ReportMemMonitorEvent, RefusesANullArrayAndOneWithoutPairs) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    __MemKVPair pair{};

    for (const auto& [kv, kvcount] :
         {std::pair<__MemKVPair*, unsigned long>(nullptr, 0), {nullptr, 5}, {&pair, 0}}) {
        resetTrace();

        reportMemMonitorEvent(kv, kvcount);

        EXPECT_EQ((Calls{"log 6 reportMemMonitorEvent kv is null or kvcount is 0"}), calls());
        EXPECT_EQ(errors({"reportMemMonitorEvent kv is null or kvcount is 0"}), logLines());
    }
    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportMemMonitorEvent, RefusesAnArrayWithAnUnknownTagWhereverItIs) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    constexpr size_t kPairs = 4;
    for (const int32_t tag : {9, 10, 12, 256, -1, std::numeric_limits<int32_t>::min(),
                              std::numeric_limits<int32_t>::max()}) {
        for (size_t position = 0; position < kPairs; ++position) {
            MemKVPairArray sample;
            for (size_t i = 0; i < kPairs; ++i)
                sample.addInt32("good", 1);
            sample.data()[position].type = tag;
            resetTrace();

            report(sample);

            EXPECT_EQ((Calls{"log 6 Invalid value type: " + std::to_string(tag),
                             "log 6 reportMemMonitorEvent addExtraInfo failed"}),
                      calls());
            EXPECT_EQ(errors({"Invalid value type: " + std::to_string(tag),
                              "reportMemMonitorEvent addExtraInfo failed"}),
                      logLines());
        }
    }
    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportMemMonitorEvent, CopiesNothingOfAPairWithAnUnknownTag) {
    MemKVPairArray sample;
    sample.addInt32(std::string(5000, 'k'), 1);
    sample.data()->type = 9;
    {
        Allocations allocations;
        allocations.fail(stringBytes(5000));
        report(sample);
    }

    EXPECT_EQ(errors({"Invalid value type: 9", "reportMemMonitorEvent addExtraInfo failed"}),
              logLines());
}

TEST_F(ReportMemMonitorEvent, StopsAtTheFirstUnknownTag) {
    MemKVPairArray sample;
    for (int i = 0; i < 3; ++i)
        sample.addInt32("", i);
    sample.data()[1].type = 11;
    sample.data()[2].type = 12;

    report(sample);

    EXPECT_EQ(errors({"Invalid value type: 11", "reportMemMonitorEvent addExtraInfo failed"}),
              logLines());
}

TEST_F(ReportMemMonitorEvent, RefusesAPairThatWasSetToAnUnknownType) {
    MemKVPairArray sample;
    sample.addString("a", std::string(100, 'x'));
    EXPECT_FALSE(android::setMemKVPairValue(sample.data(), 12, 1));
    resetTrace();

    report(sample);

    EXPECT_EQ(errors({"Invalid value type: 12", "reportMemMonitorEvent addExtraInfo failed"}),
              logLines());
}

TEST_F(ReportMemMonitorEvent, ReadsTheClocksBeforeItFindsThatTheFingerprintIsInvalid) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    setFingerprint("b/p/d:13/ID1/42:user");

    reportSample();

    EXPECT_EQ((Calls{"clock_gettime 1", "gettimeofday", kFingerprintRead,
                     "log 6 Invalid build.fingerprint format",
                     "log 6 reportMemMonitorEvent setDeviceInfo failed"}),
              calls());
    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportMemMonitorEvent, ReturnsSilentlyWhenTheBufferRefusesTheRecord) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0}, {.tv_sec = 2, .tv_nsec = 0});
    reportSample();
    resetTrace();
    ASSERT_EQ(0, unlink("/dev/sysevents_buf"));

    reportSample();

    EXPECT_EQ((Calls{"clock_gettime 1", "gettimeofday", "log 6 et size: 60", "gettimeofday",
                     "writes 89"}),
              calls());
}

// The buffer.

TEST_F(ReportMemMonitorEvent, HandsOverABufferOfExactlyTheRecordsLength) {
    Allocations allocations;

    reportSample();

    const size_t sizeBytes = allocations.sizeOf(lastPayloadPointer());
    EXPECT_EQ(onlyEvent().payload.size(), sizeBytes);
}

TEST_F(ReportMemMonitorEvent, FillsTheBufferBeforeItLogsTheSize) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0}, {.tv_sec = 2, .tv_nsec = 0});
    constexpr size_t kRecordSize = 60;
    int held = -1;
    Allocations allocations;
    observeCalls([&](const std::string& call) {
        if (call == "log 6 et size: 60") held = allocations.heldOfSize(kRecordSize);
    });

    reportSample();

    EXPECT_EQ(kRecordSize, onlyEvent().payload.size());
    EXPECT_EQ(1, held);
}

TEST_F(ReportMemMonitorEvent, KeepsTheBufferUntilTheOperationHasReturnedAndNoLonger) {
    Allocations allocations;
    bool heldAtReturn = false;
    observeReturns([&](const std::string& call) {
        if (call == "writes 89") heldAtReturn = allocations.isHeld(lastPayloadPointer());
    });

    reportSample();

    EXPECT_TRUE(heldAtReturn);
    EXPECT_FALSE(allocations.isHeld(lastPayloadPointer()));
}

TEST_F(ReportMemMonitorEvent, FreesArrayThenByteStringThenEventAfterTheOperation) {
    MemKVPairArray sample;
    sample.addString("a", std::string(5000, 'x'));
    report(sample);
    const size_t recordBytes = onlyEvent().payload.size();
    const std::vector<size_t> sizes = {recordBytes, stringBytes(recordBytes), stringBytes(5000)};
    std::vector<size_t> freed;
    freed.reserve(1000);
    Allocations allocations;
    size_t freedBefore = 0;
    observeReturns([&](const std::string& call) {
        if (call == "writes 89") freedBefore = allocations.freed().size();
    });

    report(sample);

    for (const size_t size : allocations.freed().subspan(freedBefore)) {
        if (std::ranges::find(sizes, size) != sizes.end()) freed.push_back(size);
    }
    EXPECT_EQ(sizes, freed);
}

TEST_F(ReportMemMonitorEvent, LeavesNothingAllocated) {
    const std::string text(100, 't');
    MemKVPairArray sample;
    sample.addString(text, text);
    sample.addBytes(text, Bytes(100));
    report(sample);  // Whatever is allocated once, is now.
    resetTrace();
    Allocations allocations;

    report(sample);

    resetTrace();  // Forgets the notes that were taken meanwhile.
    EXPECT_EQ(0, allocations.held());
}

TEST_F(ReportMemMonitorEvent, LeavesNothingAllocatedWhenItFails) {
    const std::string text(100, 't');
    MemKVPairArray good;
    good.addString(text, text);
    MemKVPairArray bad;
    bad.addString(text, text);
    bad.addInt32(text, 1);
    bad.data()[1].type = 9;
    setFingerprint(text + "/" + text);
    const auto failInEveryWay = [&] {
        report(good);
        report(bad);
        reportMemMonitorEvent(nullptr, 1);
    };
    failInEveryWay();  // Whatever is allocated once, is now.
    resetTrace();
    Allocations allocations;

    failInEveryWay();

    resetTrace();  // Forgets the notes that were taken meanwhile.
    EXPECT_EQ(0, allocations.held());
    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportMemMonitorEvent, LetsAFailedAllocationThrough) {
    MemKVPairArray sample;
    sample.addString("a", std::string(5000, 'x'));
    Allocations allocations;

    EXPECT_ERROR(
        {
            allocations.fail(stringBytes(5000));
            report(sample);
        },
        std::bad_alloc);

    EXPECT_EQ(0u, events().size());
}

// Threads.

TEST_F(ReportMemMonitorEvent, DoesNotWaitForAnotherReport) {
    reportSample();  // Fills the cache.
    for (const char* step : {"log", "writes"}) {
        bool isFirst = true;
        observeCalls([&](const std::string& call) {
            if (!call.starts_with(step) || !std::exchange(isFirst, false)) return;
            doMeanwhile(reportSample);
        });
        const size_t before = events().size();

        reportSample();

        EXPECT_EQ(before + 2, events().size());
        resetTrace();
    }
}

TEST_F(ReportMemMonitorEvent, DoesNotWaitForAnotherReportThatReadsTheFingerprint) {
    bool isFirst = true;
    observeCalls([&](const std::string& call) {
        if (call == kFingerprintRead && std::exchange(isFirst, false)) doMeanwhile(reportSample);
    });

    reportSample();

    EXPECT_EQ(2u, events().size());
    EXPECT_EQ(2, fingerprintReads());
}

TEST_F(ReportMemMonitorEvent, LosesAndMixesUpNothingUnderEightThreads) {
    constexpr int kThreads = 8;
    constexpr int kReports = 500;
    reportSample();  // Fills the cache.
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kReports; ++i) {
                MemKVPairArray sample;
                sample.addInt32("thread", thread);
                sample.addInt32("report", i);
                report(sample);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(kThreads, 0);
    const auto all = events();
    for (size_t i = 1; i < all.size(); ++i) {
        const MemMonitorEvent event = parsed(all[i]);
        ASSERT_EQ(4, event.kvs_size());
        const int thread = event.kvs(1).int32_value();
        ASSERT_LT(static_cast<size_t>(thread), next.size());
        ASSERT_EQ(next[thread]++, event.kvs(3).int32_value());
        ASSERT_EQ("release-keys", event.tags());
    }
    EXPECT_EQ(std::vector<int>(kThreads, kReports), next);
    EXPECT_EQ(static_cast<size_t>(kThreads * kReports + 1), logLines().size());
}

}  // namespace
