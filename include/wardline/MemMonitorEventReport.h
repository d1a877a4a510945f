/**
 * Reporting of samples of memory figures. The record that receivers read is the message
 * MemMonitorEvent.
 */
#pragma once

#include <wardline/Export.h>
#include <wardline/MemKVPair.h>

namespace android {

/**
 * Reports one sample to the platform's event buffer.
 *
 * @param kv       the figures, kvcount pairs back to back; only read, and the caller's. Null or no
 *                 pair is an error.
 * @param kvcount  how many pairs there are.
 *
 * Effects: one record with event id 89, and one ERROR line with its size in bytes. The record holds
 * the pairs, then the monotonic clock and the wall clock, in milliseconds and read in this order,
 * and the eight texts of cachedDeviceInfo, also empty ones. For these, each report reads the property
 * "ro.build.fingerprint" until one has found it valid; see DeviceInfo.h. The buffer's own time for
 * the record is read last.
 *
 * What is deliberate, and what it means for those who report and those who read:
 *  - n pairs become 2n elements in the record: element 2i holds only the key of pair i, element
 *    2i + 1 only its value. Those without a key are not initialised, so the plain parse
 *    operations refuse the record: read it with ParsePartialFromString();
 *  - a pair of MEM_KV_TYPE_BOOL is sent as true, whatever it holds: a false cannot be reported. Send
 *    a number instead where it matters;
 *  - every line is logged at ERROR, also the one that tells of success.
 *
 * Lines, all at ERROR:
 *
 *     et size: %zu
 *         the record goes to the buffer
 *     reportMemMonitorEvent kv is null or kvcount is 0
 *         nothing is sent
 *     Invalid value type: %d
 *     reportMemMonitorEvent addExtraInfo failed
 *         the tag of a pair is not one of 0 to 8; nothing is sent, of the other pairs neither
 *     Invalid build.fingerprint format
 *     reportMemMonitorEvent setDeviceInfo failed
 *         "ro.build.fingerprint" does not have six components; nothing is sent
 *
 * Errors: besides these lines none is reported; a record that the platform drops is lost silently,
 * and one of 2 GiB or more is sent empty. An allocation that fails raises std::bad_alloc through
 * the caller.
 *
 * Threads: any number at once, once one report of the process has succeeded; takes no lock. That
 * first one fills the process-wide cache, which nothing guards: see cachedDeviceInfo. The pairs must
 * not change meanwhile.
 *
 * \sa setMemKVPairValue(), MemKVPairArray
 */
WARDLINE_EXPORT void reportMemMonitorEvent(__MemKVPair* kv, unsigned long kvcount);

}  // namespace android
