/**
 * The identity of the device's build, as memory monitor events carry it. The first event that
 * reportMemMonitorEvent() reports with success in a process cuts it out of the system property
 * "ro.build.fingerprint"; all later ones use what was cut then.
 */
#pragma once

#include <stddef.h>
#include <wardline/Export.h>

#include <string>

namespace android {

/**
 * The parts of a fingerprint
 *
 *     brand/product/device:release/build_id/incremental:build_type/tags
 *
 * Its layout is part of the interface.
 */
struct DeviceInfo {
    std::string brand;
    std::string product;
    std::string device;   // Up to the first ":" of its component.
    std::string release;  // From there to the next ":" or the end; empty without a ":".
    std::string build_id;
    std::string incremental;  // As device.
    std::string build_type;   // As release.
    std::string tags;
};

#if defined(_LIBCPP_VERSION)
static_assert(sizeof(DeviceInfo) == 192);
#elif defined(__GLIBCXX__)
static_assert(sizeof(DeviceInfo) == 256);
#endif
static_assert(offsetof(DeviceInfo, product) == sizeof(std::string));
static_assert(offsetof(DeviceInfo, device) == 2 * sizeof(std::string));
static_assert(offsetof(DeviceInfo, release) == 3 * sizeof(std::string));
static_assert(offsetof(DeviceInfo, build_id) == 4 * sizeof(std::string));
static_assert(offsetof(DeviceInfo, incremental) == 5 * sizeof(std::string));
static_assert(offsetof(DeviceInfo, build_type) == 6 * sizeof(std::string));
static_assert(offsetof(DeviceInfo, tags) == 7 * sizeof(std::string));

/**
 * What reportMemMonitorEvent() sends. Empty at load, complete once isDeviceInfoCached is true, and
 * constant from then on; destroyed when the library is unloaded or the process exits, after which no
 * report may be made. Only to be read.
 *
 * Threads: nothing guards it, which is accepted by design: two threads that both make a first report
 * both fill it, with the same texts. If they do so at the same moment, this is a data race, and with
 * texts that are too long to lie in the string itself it can damage the heap. So let a process make
 * one report that succeeds before it starts several threads that report. Read it in a thread that has
 * found isDeviceInfoCached true after a report of its own.
 */
WARDLINE_EXPORT extern DeviceInfo cachedDeviceInfo;

/**
 * True once cachedDeviceInfo is complete, and then for the rest of the process. Stays false while
 * the property does not have six components: each report tries again.
 *
 * Threads: a plain bool, written with no guard; see cachedDeviceInfo.
 */
WARDLINE_EXPORT extern bool isDeviceInfoCached;

}  // namespace android
