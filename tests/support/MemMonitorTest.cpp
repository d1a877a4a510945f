#include "MemMonitorTest.h"

#include <wardline/DeviceInfo.h>
#include <wardline/MemMonitorEventReport.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace {

// Past property_set, which writes a "ro." property only once.
constexpr char kFingerprintFile[] = "/dev/__properties__/ro.build.fingerprint";

}  // namespace

MemMonitorTest::MemMonitorTest() {
    setFingerprint(kFingerprint);
    clearDeviceInfo();
}

void MemMonitorTest::clearDeviceInfo() {
    android::DeviceInfo none;
    std::swap(android::cachedDeviceInfo, none);
    android::isDeviceInfoCached = false;
}

void MemMonitorTest::setFingerprint(const std::string& fingerprint) {
    writeContent(kFingerprintFile, fingerprint);
}

void MemMonitorTest::removeFingerprint() {
    std::filesystem::remove(kFingerprintFile);
}

int MemMonitorTest::fingerprintReads() {
    const auto all = calls();
    return static_cast<int>(std::ranges::count(all, kFingerprintRead));
}

void MemMonitorTest::reportSample() {
    android::MemKVPairArray sample;
    sample.addInt64("rss", 1234);
    android::reportMemMonitorEvent(sample.data(), sample.size());
}

MemMonitorEvent MemMonitorTest::parsed(const BufferedEvent& event) {
    MemMonitorEvent record;
    EXPECT_TRUE(record.ParsePartialFromString(event.payload));
    EXPECT_EQ("", record.unknown_fields());
    return record;
}
