// The device information cache: how the fingerprint is cut, and when it is read.

#include <gtest/gtest.h>
#include <wardline/DeviceInfo.h>
#include <wardline/MemMonitorEventReport.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <new>
#include <ostream>
#include <thread>
#include <type_traits>

#include "support/Allocations.h"
#include "support/MemMonitorTest.h"

/** Two first reports at once race for the cache, which is accepted; nothing else may race. */
extern "C" const char* __tsan_default_suppressions() {
    return "race:setDeviceInfo\n";
}

namespace {

using android::cachedDeviceInfo;
using android::isDeviceInfoCached;
using Parts = std::vector<std::string>;

static_assert(std::is_same_v<bool, decltype(isDeviceInfoCached)>);

std::vector<std::string*> cachedStrings() {
    android::DeviceInfo& info = cachedDeviceInfo;
    return {&info.brand,    &info.product,     &info.device,     &info.release,
            &info.build_id, &info.incremental, &info.build_type, &info.tags};
}

Parts cachedParts() {
    Parts parts;
    for (const std::string* text : cachedStrings())
        parts.push_back(*text);
    return parts;
}

Parts sentParts(const MemMonitorEvent& event) {
    return {event.brand(),    event.product(),     event.device(),     event.release(),
            event.build_id(), event.incremental(), event.build_type(), event.tags()};
}

const Parts kNoParts = Parts(8);
const Parts kParts = {"b", "p", "d", "13", "ID1", "42", "user", "release-keys"};

class DeviceInfo : public MemMonitorTest {
  protected:
    static std::vector<LogLine> failure() {
        return {{6, "libwardline", "Invalid build.fingerprint format"},
                {6, "libwardline", "reportMemMonitorEvent setDeviceInfo failed"}};
    }
};

TEST_F(DeviceInfo, IsCachedAndSentByTheFirstReport) {
    reportSample();

    EXPECT_TRUE(isDeviceInfoCached);
    EXPECT_EQ(kParts, cachedParts());
    EXPECT_EQ(kParts, sentParts(parsed(onlyEvent())));
    EXPECT_EQ(1, fingerprintReads());
}

TEST_F(DeviceInfo, IsReadOnceForAnyNumberOfReports) {
    for (int i = 0; i < 5; ++i)
        reportSample();

    EXPECT_EQ(1, fingerprintReads());
    ASSERT_EQ(5u, events().size());
    EXPECT_EQ(kParts, sentParts(parsed(events().back())));
}

TEST_F(DeviceInfo, StaysWhenThePropertyChangesAfterwards) {
    reportSample();
    setFingerprint("other/p/d:13/ID1/42:user/release-keys");
    reportSample();
    setFingerprint("invalid");
    reportSample();

    EXPECT_EQ(kParts, cachedParts());
    ASSERT_EQ(3u, events().size());
    EXPECT_EQ(kParts, sentParts(parsed(events()[1])));
    EXPECT_EQ(kParts, sentParts(parsed(events()[2])));
}

TEST_F(DeviceInfo, IsTriedAgainOnEveryReportUntilTheFingerprintIsValid) {
    for (const char* fingerprint : {"", "b/p/d:13/ID1/42:user", "b/p"}) {
        setFingerprint(fingerprint);
        resetTrace();
        reportSample();
        EXPECT_EQ(failure(), logLines());
        EXPECT_EQ(1, fingerprintReads());
    }
    EXPECT_EQ(0u, events().size());

    setFingerprint(kFingerprint);
    reportSample();

    EXPECT_TRUE(isDeviceInfoCached);
    EXPECT_EQ(kParts, sentParts(parsed(onlyEvent())));
}

TEST_F(DeviceInfo, StaysAsItWasWhenTheFingerprintIsInvalid) {
    cachedDeviceInfo.brand = "before";
    cachedDeviceInfo.tags = "before too";
    setFingerprint("b/p/d:13/ID1/42:user");

    reportSample();

    EXPECT_FALSE(isDeviceInfoCached);
    EXPECT_EQ((Parts{"before", "", "", "", "", "", "", "before too"}), cachedParts());
}

TEST_F(DeviceInfo, ReplacesWhatTheStringsHeldBefore) {
    cachedDeviceInfo.release = std::string(100, 'x');
    setFingerprint("b/p/d/ID1/42/release-keys");

    reportSample();

    EXPECT_EQ((Parts{"b", "p", "d", "", "ID1", "42", "", "release-keys"}), cachedParts());
}

TEST_F(DeviceInfo, IsSentAsItIsOnceTheFlagIsTrue) {
    isDeviceInfoCached = true;
    cachedDeviceInfo.device = "device";

    reportSample();

    EXPECT_EQ(0, fingerprintReads());
    const MemMonitorEvent event = parsed(onlyEvent());
    EXPECT_EQ((Parts{"", "", "device", "", "", "", "", ""}), sentParts(event));
    EXPECT_TRUE(event.has_brand() && event.has_product() && event.has_device() &&
                event.has_release() && event.has_build_id() && event.has_incremental() &&
                event.has_build_type() && event.has_tags());
}

TEST_F(DeviceInfo, IsNotReadForAReportThatHasFailedAlready) {
    android::__MemKVPair pair{};
    pair.type = 9;

    android::reportMemMonitorEvent(&pair, 1);
    android::reportMemMonitorEvent(nullptr, 1);

    EXPECT_FALSE(isDeviceInfoCached);
    EXPECT_EQ(0, fingerprintReads());
}

#ifdef __cpp_exceptions
TEST_F(DeviceInfo, IsAssignedInTheOrderOfItsFieldsAndOnlyThenCached) {
    const std::string large(500, 'x');
    for (size_t i = 0; i < kParts.size(); ++i) {
        clearDeviceInfo();
        Parts parts = kParts;
        parts[i] = large;
        setFingerprint(parts[0] + "/" + parts[1] + "/" + parts[2] + ":" + parts[3] + "/" +
                       parts[4] + "/" + parts[5] + ":" + parts[6] + "/" + parts[7]);
        cachedStrings()[i]->reserve(300);  // Grows to twice as much where it does not suffice.
        {
            Allocations allocations;
            allocations.fail(601);
            EXPECT_THROW(reportSample(), std::bad_alloc);
        }
        Parts assigned = kNoParts;
        std::copy_n(parts.begin(), i, assigned.begin());
        EXPECT_EQ(assigned, cachedParts());
        EXPECT_FALSE(isDeviceInfoCached);
    }
    EXPECT_EQ(0u, events().size());
}
#endif

TEST_F(DeviceInfo, MayBeFilledByTwoReportsAtOnce) {
    std::promise<void> bothRead;
    std::shared_future<void> whenBothRead = bothRead.get_future().share();
    std::atomic<int> readers = 0;
    observeReturns([&](const std::string& call) {
        if (call != kFingerprintRead) return;
        if (++readers == 2) bothRead.set_value();
        whenBothRead.wait_for(std::chrono::seconds(10));
    });

    std::thread other(reportSample);
    reportSample();
    other.join();

    EXPECT_EQ(2, fingerprintReads());
    EXPECT_TRUE(isDeviceInfoCached);
    ASSERT_EQ(2u, events().size());
    EXPECT_EQ(kParts, sentParts(parsed(events()[0])));
    EXPECT_EQ(kParts, sentParts(parsed(events()[1])));
}

// Fingerprints.

struct Fingerprint {
    const char* name;
    std::string value;
    Parts parts;
};

void PrintTo(const Fingerprint& fingerprint, std::ostream* out) {
    *out << fingerprint.name;
}

class DeviceInfoOf : public DeviceInfo, public testing::WithParamInterface<Fingerprint> {};

TEST_P(DeviceInfoOf, IsCutIntoEightTexts) {
    setFingerprint(GetParam().value);

    reportSample();

    EXPECT_EQ(GetParam().parts, cachedParts());
    EXPECT_EQ(GetParam().parts, sentParts(parsed(onlyEvent())));
    EXPECT_TRUE(isDeviceInfoCached);
    EXPECT_EQ(1u, logLines().size());
}

const std::string kLong(100, 'x');
const Fingerprint kValid[] = {
    {"plain", "b/p/d:13/ID1/42:user/release-keys", kParts},
    {"no release", "b/p/d/ID1/42:user/keys", {"b", "p", "d", "", "ID1", "42", "user", "keys"}},
    {"no build type", "b/p/d:13/ID1/42/keys", {"b", "p", "d", "13", "ID1", "42", "", "keys"}},
    {"slash at the end",
     "b/p/d:13/ID1/42:user/keys/",
     {"b", "p", "d", "13", "ID1", "42", "user", "keys"}},
    {"empty tags", "b/p/d:13/ID1/42:user//", {"b", "p", "d", "13", "ID1", "42", "user", ""}},
    {"empty first", "/p/d:13/ID1/42:user/keys", {"", "p", "d", "13", "ID1", "42", "user", "keys"}},
    {"empty middle", "b//d:13//42:user/keys", {"b", "", "d", "13", "", "42", "user", "keys"}},
    {"empty split ones", "b/p//ID1//keys", {"b", "p", "", "", "ID1", "", "", "keys"}},
    {"all empty", "//////", kNoParts},
    {"colon at the end", "b/p/d:/ID1/42:/keys", {"b", "p", "d", "", "ID1", "42", "", "keys"}},
    {"colon first", "b/p/:13/ID1/:user/keys", {"b", "p", "", "13", "ID1", "", "user", "keys"}},
    {"only colon", "b/p/:/ID1/:/keys", {"b", "p", "", "", "ID1", "", "", "keys"}},
    {"further pieces",
     "b/p/d:13:x:y/ID1/42:user:z/keys",
     {"b", "p", "d", "13", "ID1", "42", "user", "keys"}},
    {"two colons", "b/p/d::13/ID1/42::user/keys", {"b", "p", "d", "", "ID1", "42", "", "keys"}},
    {"colons elsewhere",
     "b:1/p:2:3/d:13/I:D:1/42:user/:keys:",
     {"b:1", "p:2:3", "d", "13", "I:D:1", "42", "user", ":keys:"}},
    {"odd bytes",
     " b/p\n/d\t:\xff/\xc3\x28/42 :user/k k\n",
     {" b", "p\n", "d\t", "\xff", "\xc3\x28", "42 ", "user", "k k\n"}},
    {"long",
     kLong + "1/" + kLong + "2/" + kLong + "3:" + kLong + "4/" + kLong + "5/" + kLong +
         "6:" + kLong + "7/" + kLong + "8",
     {kLong + "1", kLong + "2", kLong + "3", kLong + "4", kLong + "5", kLong + "6", kLong + "7",
      kLong + "8"}},
};
INSTANTIATE_TEST_SUITE_P(Valid, DeviceInfoOf, testing::ValuesIn(kValid));

class DeviceInfoOfNone : public DeviceInfo, public testing::WithParamInterface<Fingerprint> {};

TEST_P(DeviceInfoOfNone, LosesTheEventAndLogsTwoErrors) {
    setFingerprint(GetParam().value);

    reportSample();

    EXPECT_EQ(failure(), logLines());
    EXPECT_EQ(0u, events().size());
    EXPECT_FALSE(isDeviceInfoCached);
    EXPECT_EQ(kNoParts, cachedParts());
}

const Fingerprint kInvalid[] = {
    {"empty", "", {}},
    {"one component", "brand", {}},
    {"slash", "/", {}},
    {"five components", "b/p/d:13/ID1/42:user", {}},
    {"five components and a slash", "b/p/d:13/ID1/42:user/", {}},
    {"five empty components", "/////", {}},
    {"seven components", "b/p/d:13/ID1/42:user/keys/x", {}},
    {"six and an empty component", "b/p/d:13/ID1/42:user/keys//", {}},
    {"colons for slashes", "b:p:d:13:ID1:42", {}},
};
INSTANTIATE_TEST_SUITE_P(Invalid, DeviceInfoOfNone, testing::ValuesIn(kInvalid));

TEST_F(DeviceInfo, OfADeviceWithoutTheProperty) {
    removeFingerprint();

    reportSample();

    EXPECT_EQ(failure(), logLines());
    EXPECT_EQ(0u, events().size());
    EXPECT_FALSE(isDeviceInfoCached);
}

}  // namespace
