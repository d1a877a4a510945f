// android::getTimestamp and android::millisecondsToDatetime.

#include <gtest/gtest.h>
#include <stdint.h>
#include <time.h>
#include <wardline/Timestamp.h>

#include <limits>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/DeviceTest.h"
#include "support/FixedClock.h"
#include "support/Meanwhile.h"
#include "support/TimeZone.h"

namespace {

using android::getTimestamp;
using android::millisecondsToDatetime;

static_assert(sizeof(getTimestamp()) == 8);
static_assert(std::is_integral_v<decltype(getTimestamp())>);

class GetTimestamp : public DeviceTest {};

TEST_F(GetTimestamp, IsTheWallClock) {
    const int64_t before = nowMs();
    const int64_t timestamp = getTimestamp();
    const int64_t after = nowMs();

    EXPECT_LE(before, timestamp);
    EXPECT_GE(after, timestamp);
}

TEST_F(GetTimestamp, CountsMillisecondsAndCutsMicrosecondsOff) {
    const FixedClock clock({.tv_sec = 12, .tv_usec = 345678});

    EXPECT_EQ(12345, getTimestamp());
}

TEST_F(GetTimestamp, DoesNotRoundUp) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 999999});

    EXPECT_EQ(1700000000999, getTimestamp());
}

TEST_F(GetTimestamp, GoesBeyond32Bits) {
    const FixedClock clock({.tv_sec = 253402300800, .tv_usec = 0});

    EXPECT_EQ(253402300800000, getTimestamp());
}

TEST_F(GetTimestamp, IsNegativeBeforeTheEpoch) {
    const FixedClock clock({.tv_sec = -2, .tv_usec = 500000});

    EXPECT_EQ(-1500, static_cast<int64_t>(getTimestamp()));
}

TEST_F(GetTimestamp, ReadsTheClockOnceAndDoesNothingElse) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});

    getTimestamp();

    EXPECT_EQ((std::vector<std::string>{"gettimeofday"}), calls());
}

TEST_F(GetTimestamp, DoesNotDependOnTheTimeZone) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 0});
    const TimeZone zone("XYZ-14");

    EXPECT_EQ(1700000000000, getTimestamp());
}

TEST_F(GetTimestamp, DoesNotWaitForAnotherOne) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    bool isFirst = true;
    observeCalls([&](const std::string&) {
        if (std::exchange(isFirst, false)) doMeanwhile([] { getTimestamp(); });
    });

    EXPECT_EQ(1000, getTimestamp());
}

// Zones in the notation of TZ, which needs no zone database.
constexpr char kUtc[] = "UTC0";
constexpr char kCentralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kNepal[] = "<+0545>-5:45";
constexpr char kChatham[] = "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45";
constexpr char kNewfoundland[] = "NST3:30";

struct LocalTime {
    const char* zone;
    unsigned long ms;
    const char* text;
};

void PrintTo(const LocalTime& time, std::ostream* out) {
    *out << time.ms << " in " << time.zone;
}

class MillisecondsToDatetime : public DeviceTest {
  protected:
    TimeZone zone_{kUtc};
};

class MillisecondsToDatetimeIn : public MillisecondsToDatetime,
                                 public testing::WithParamInterface<LocalTime> {};

TEST_P(MillisecondsToDatetimeIn, IsTheLocalDateAndTime) {
    zone_.set(GetParam().zone);

    EXPECT_EQ(GetParam().text, millisecondsToDatetime(GetParam().ms));
}

const LocalTime kLocalTimes[] = {
    {kUtc, 1700000000123, "202311142213"},
    {kUtc, 0, "197001010000"},
    {kUtc, 999, "197001010000"},
    {kUtc, 59999, "197001010000"},
    {kUtc, 60000, "197001010001"},
    {kUtc, 2869500000, "197002030505"},  // Every part has a leading zero.
    {kUtc, 86399999, "197001012359"},
    {kUtc, 86400000, "197001020000"},
    {kUtc, 951868799999, "200002292359"},
    {kUtc, 951868800000, "200003010000"},
    {kUtc, 2147483648000, "203801190314"},
    {kUtc, 4294967296000, "210602070628"},
    {kUtc, 253402300799999, "999912312359"},
    {kUtc, 253402300800000, "1000001010000"},
    {kUtc, 18446744073709551615U, "58455601904031425"},
    {kCentralEurope, 1700000000123, "202311142313"},
    {kCentralEurope, 1711846799999, "202403310159"},  // Daylight saving begins.
    {kCentralEurope, 1711846800000, "202403310300"},
    {kCentralEurope, 1729987199999, "202410270159"},  // Two o'clock comes twice.
    {kCentralEurope, 1729987200000, "202410270200"},
    {kCentralEurope, 1729990799999, "202410270259"},
    {kCentralEurope, 1729990800000, "202410270200"},
    {kCentralEurope, 1729994399999, "202410270259"},
    {kCentralEurope, 1729994400000, "202410270300"},
    {kCentralEurope, 0, "197001010100"},
    {kNepal, 1700000000123, "202311150358"},
    {kNepal, 0, "197001010545"},
    {kChatham, 1700000000123, "202311151158"},
    {kChatham, 1720000000000, "202407032231"},
    {kNewfoundland, 0, "196912312030"},
    {kNewfoundland, 1700000000123, "202311141843"},
};

INSTANTIATE_TEST_SUITE_P(Zones, MillisecondsToDatetimeIn, testing::ValuesIn(kLocalTimes));

TEST_F(MillisecondsToDatetime, FollowsTheTimeZoneFromCallToCall) {
    EXPECT_EQ("202311142213", millisecondsToDatetime(1700000000123));

    zone_.set(kNepal);
    EXPECT_EQ("202311150358", millisecondsToDatetime(1700000000123));

    zone_.set(kUtc);
    EXPECT_EQ("202311142213", millisecondsToDatetime(1700000000123));
}

TEST_F(MillisecondsToDatetime, UsesTheProcesssBufferOfLocaltime) {
    const time_t epoch = 0;
    const tm* const shared = localtime(&epoch);

    millisecondsToDatetime(1700000000123);

    EXPECT_EQ(123, shared->tm_year);
    EXPECT_EQ(20, shared->tm_sec);
}

TEST_F(MillisecondsToDatetime, BreaksTheTimeDownOnceAndDoesNothingElse) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});

    millisecondsToDatetime(0);

    EXPECT_EQ((std::vector<std::string>{"localtime"}), calls());
}

TEST_F(MillisecondsToDatetime, DoesNotWaitForAnotherOne) {
    bool isFirst = true;
    observeCalls([&](const std::string&) {
        if (std::exchange(isFirst, false)) doMeanwhile([] { millisecondsToDatetime(0); });
    });

    EXPECT_EQ("202311142213", millisecondsToDatetime(1700000000123));
}

}  // namespace
