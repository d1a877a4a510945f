#pragma once

#include <wardline/MemKVPairArray.h>

#include <string>

#include "DeviceTest.h"
#include "proto/wardline_records.pb.h"

/** A test in a device whose build fingerprint is kFingerprint, in a process that has not read it. */
class MemMonitorTest : public DeviceTest {
  protected:
    static constexpr char kFingerprint[] = "b/p/d:13/ID1/42:user/release-keys";

    /** What a report does to read the fingerprint. */
    static constexpr char kFingerprintRead[] = "GetProperty ro.build.fingerprint default ";

    MemMonitorTest();

    /** Makes the process one that has not read the fingerprint yet. */
    static void clearDeviceInfo();

    /** Gives the device another fingerprint, which no running device ever gets. */
    static void setFingerprint(const std::string& fingerprint);

    /** Makes it a device without a fingerprint. */
    static void removeFingerprint();

    /** How often the fingerprint has been read since the trace was reset. */
    static int fingerprintReads();

    /** Reports one pair: "rss", as the 64-bit number 1234. */
    static void reportSample();

    /** The event in a record, and nothing else. */
    static MemMonitorEvent parsed(const BufferedEvent& event);
};
