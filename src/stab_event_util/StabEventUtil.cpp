// The clocks and the monitor directory; stability events, ART lock timeouts and samples of memory
// figures; the core dump decision, and the notifications to the stability kernel driver.

#include <android-base/file.h>
#include <android-base/properties.h>
#include <cutils/properties.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "internal/Log.h"
#include "internal/ScopedFd.h"
#include "internal/ScopedFile.h"
#include "internal/ScopedUmask.h"
#include "internal/StabNotifyRecord.h"
#include "internal/SysEventsBuffer.h"
#include "proto/wardline_records.pb.h"
#include "wardline/ArtLockTimeoutReport.h"
#include "wardline/Cmdline.h"
#include "wardline/Coredump.h"
#include "wardline/DeviceInfo.h"
#include "wardline/MemKVPair.h"
#include "wardline/MemMonitorEventReport.h"
#include "wardline/MonitorPath.h"
#include "wardline/StabEventReport.h"
#include "wardline/StabNotify.h"
#include "wardline/Timestamp.h"

namespace {

// Event type codes, shared by the StabEvent record and the driver record.
constexpr int kNativeCrash = 2;
constexpr int kSystemKilled = 4;
constexpr int kExtraLogFinished = 10;  // Driver record only.

}  // namespace

// Time.

namespace {

// The library's own reports call this, not getTimestamp(): another library of the process may
// export that name too.
long wallClockMs() {
    timeval now;
    gettimeofday(&now, nullptr);
    return now.tv_sec * 1000 + now.tv_usec / 1000;
}

long monotonicMs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

int64_t android::getTimestamp() {
    return wallClockMs();
}

std::string android::millisecondsToDatetime(unsigned long ms) {
    const auto seconds = static_cast<time_t>(ms / 1000);
    char text[32];  // The greatest time takes 17 digits and the NUL.
    const size_t length = strftime(text, sizeof(text), "%Y%m%d%H%M", localtime(&seconds));
    return {text, length};
}

// Command line.

std::string android::getCmdline() {
    std::string cmdline;
    if (!base::ReadFileToString("/proc/self/cmdline", &cmdline)) return cmdline;
    const size_t last = cmdline.find_last_not_of('\0');
    cmdline.resize(last == std::string::npos ? 0 : last + 1);
    std::replace(cmdline.begin(), cmdline.end(), '\0', ' ');
    return cmdline;
}

// Monitor directory.

namespace {

// NOLINTNEXTLINE(cert-err58-cpp): without memory at load time there is no going on.
const std::string monitorPath = "/data/syslog/monitor/stabevent";

/**
 * Deliberate: true means that this call made the directory, or that something other than a
 * directory has the path. An existing directory makes mkdir fail, so a second call returns false.
 *
 * The file writer calls this, not createMonitorPath(), which another library may export too.
 */
bool makeMonitorPath() {
    struct stat status;
    if (stat(monitorPath.c_str(), &status) == 0 && !S_ISDIR(status.st_mode)) return true;
    const ScopedUmask noMask(0);
    return mkdir(monitorPath.c_str(), 0777) == 0;
}

}  // namespace

bool android::createMonitorPath() {
    return makeMonitorPath();
}

// Records.

namespace {

constexpr int kStabEventId = 36;
constexpr int kArtLockTimeoutId = 39;
constexpr int kMemMonitorEventId = 89;

/** A record's bytes in an array of exactly their number; there is one for an empty record too. */
std::unique_ptr<unsigned char[]> byteArray(const std::string& record) {
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[record.size()]);
    memcpy(bytes.get(), record.data(), record.size());
    return bytes;
}

/** A record's bytes in a vector of exactly their number, which is null for an empty record. */
std::vector<unsigned char> byteVector(const std::string& record) {
    // Pointers to the vector's own type make this one block copy.
    const auto* const begin = reinterpret_cast<const unsigned char*>(record.data());
    return {begin, begin + record.size()};
}

}  // namespace

// Stability events.

namespace {

unsigned long nowIfZero(unsigned long timeMs) {
    return timeMs != 0 ? timeMs : static_cast<unsigned long>(wallClockMs());
}

std::string stabEventRecord(int eventType, int pid, const std::string& processName,
                            unsigned long timeMs, const std::map<std::string, std::string>* data) {
    StabEvent event;
    event.set_event_type(static_cast<uint32_t>(eventType));
    event.set_pid(static_cast<uint32_t>(pid));
    event.set_process_name(processName);
    event.set_timestamp_ms(timeMs);
    if (data != nullptr) {
        for (const auto& [key, value] : *data)
            (*event.mutable_data())[key] = value;
    }
    return event.SerializeAsString();
}

/** Where the event of this time is filed. The values enter the name as they are, "/" too. */
std::string stabEventPath(unsigned long timeMs) {
    const std::string datetime = android::millisecondsToDatetime(timeMs);
    // Deliberate: the defaults differ, so that the name tells which property was missing.
    const std::string train = android::base::GetProperty("persist.sys.trainstarttime", "--");
    const std::string ota = android::base::GetProperty("ro.os.ota.version", "-");
    return monitorPath + "/.train_stabevent_1.00_" + ota + "_" + train + "_" + datetime + "_" +
           std::to_string(timeMs);
}

void writeFile(const std::string& path, const std::vector<unsigned char>& content) {
    const ScopedFile file(fopen(path.c_str(), "wb"));
    if (file == nullptr || content.empty()) return;
    fwrite(content.data(), 1, content.size(), file.get());
}

}  // namespace

void android::reportStabEvent(int eventType, int pid, const std::string& processName,
                              unsigned long timeMs,
                              const std::map<std::string, std::string>* data) {
    timeMs = nowIfZero(timeMs);
    const std::string record = stabEventRecord(eventType, pid, processName, timeMs, data);
    __android_sysevents_buf_single_file_writes(static_cast<long>(timeMs), kStabEventId,
                                               byteArray(record).get(),
                                               static_cast<int>(record.size()));
}

void android::reportStabEventDirect(int eventType, int pid, const std::string& processName,
                                    unsigned long timeMs,
                                    const std::map<std::string, std::string>* data) {
    if (!makeMonitorPath()) {
        ALOGE("reportStabEventDirect can not createMonitorPath");
        return;
    }
    timeMs = nowIfZero(timeMs);
    const auto record = byteVector(stabEventRecord(eventType, pid, processName, timeMs, data));
    const std::string path = stabEventPath(timeMs);
    writeFile(path, record);
    chmod(path.c_str(), 0777);
}

// ART lock timeouts.

void android::reportArtLockTimeout(const std::string& name, const std::string& timestamp,
                                   unsigned long waitTime, unsigned long owner,
                                   const std::string& ownerDesc, const std::string& object,
                                   const std::string& extra1, const std::string& extra2) {
    // Deliberate: "wati_time" is the fixed wording of this line.
    ALOGD("reportArtLockTimeout : %s, timestamp: %s, wati_time: %lu, owner: %lu: %s, object: %s",
          name.c_str(), timestamp.c_str(), waitTime, owner, ownerDesc.c_str(), object.c_str());

    ArtLockTimeoutData data;
    ArtLockTimeout& timeout = *data.add_timeouts();
    timeout.set_name(name);
    timeout.set_timestamp(timestamp);
    timeout.set_wait_time(waitTime);
    timeout.set_owner(owner);
    timeout.set_owner_desc(ownerDesc);
    timeout.set_object(object);
    timeout.set_extra1(extra1);
    timeout.set_extra2(extra2);

    const auto record = byteVector(data.SerializeAsString());
    __android_sysevents_buf_writes(wallClockMs(), kArtLockTimeoutId, record.data(),
                                   static_cast<int>(record.size()));
}

// Memory key/value pairs.

namespace {

/** Ends what the pair holds; the value is nothing then, until something new begins there. */
void releaseValue(android::__MemKVPair& pair) {
    if (pair.type == android::MEM_KV_TYPE_STRING) std::destroy_at(&pair.value.string_value);
    if (pair.type == android::MEM_KV_TYPE_BYTES) std::destroy_at(&pair.value.bytes_value);
    pair.type = android::MEM_KV_TYPE_NONE;
}

// A string or an array begins empty and is filled then: whatever goes wrong in between, the pair can
// be released by its tag.

bool storeString(android::__MemKVPair& pair, const std::string* source) {
    std::construct_at(&pair.value.string_value);
    if (source == nullptr) return false;
    pair.value.string_value = std::string(*source);
    return true;
}

/** Ends the process, by the length error of the C++ library, where the length is negative. */
void checkLength(const std::vector<unsigned char>& bytes) noexcept {
    if (bytes.end() >= bytes.begin()) return;
    std::vector<unsigned char>().reserve(bytes.max_size() + 1);  // A length error.
}

bool storeBytes(android::__MemKVPair& pair, const std::vector<unsigned char>* source) {
    std::construct_at(&pair.value.bytes_value);
    if (source == nullptr) return false;
    checkLength(*source);
    pair.value.bytes_value = std::vector<unsigned char>(*source);
    return true;
}

bool logInvalidType(int32_t type) {
    ALOGE("Invalid value type: %d", type);
    return false;
}

/** Stores the next argument in a pair that has its tag and no value. */
bool storeValue(android::__MemKVPair& pair, va_list arguments) {
    switch (pair.type) {
        case android::MEM_KV_TYPE_STRING:
            return storeString(pair, va_arg(arguments, const std::string*));
        case android::MEM_KV_TYPE_INT32:
            pair.value.int32_value = va_arg(arguments, int32_t);
            return true;
        case android::MEM_KV_TYPE_INT64:
            pair.value.int64_value = va_arg(arguments, int64_t);
            return true;
        case android::MEM_KV_TYPE_UINT32:
            pair.value.uint32_value = va_arg(arguments, uint32_t);
            return true;
        case android::MEM_KV_TYPE_UINT64:
            pair.value.uint64_value = va_arg(arguments, uint64_t);
            return true;
        case android::MEM_KV_TYPE_BOOL:
            pair.value.bool_value = va_arg(arguments, int) != 0;
            return true;
        case android::MEM_KV_TYPE_DOUBLE:
            pair.value.double_value = va_arg(arguments, double);
            return true;
        case android::MEM_KV_TYPE_FLOAT:
            pair.value.float_value = static_cast<float>(va_arg(arguments, double));
            return true;
        case android::MEM_KV_TYPE_BYTES:
            return storeBytes(pair, va_arg(arguments, const std::vector<unsigned char>*));
        case android::MEM_KV_TYPE_NONE:
        default:
            return logInvalidType(pair.type);
    }
}

}  // namespace

bool android::setMemKVPairValue(__MemKVPair* pair, long type, ...) {
    if (pair == nullptr) return false;
    releaseValue(*pair);
    pair->type = static_cast<int32_t>(type);
    va_list arguments;
    va_start(arguments, type);
    const bool stored = storeValue(*pair, arguments);
    va_end(arguments);
    return stored;
}

// Device information.

android::DeviceInfo android::cachedDeviceInfo;
bool android::isDeviceInfoCached = false;

namespace {

/** The parts between the delimiters; none of an empty text, and none after a delimiter at the end. */
std::vector<std::string> split(const std::string& text, char delimiter) {
    std::vector<std::string> parts;
    for (size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        end = std::min(text.find(delimiter, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
    }
    return parts;
}

/** The first two pieces of a component, empty where there are fewer; further ones are dropped. */
std::pair<std::string, std::string> splitInTwo(const std::string& component) {
    const std::vector<std::string> pieces = split(component, ':');
    return {pieces.empty() ? "" : pieces[0], pieces.size() < 2 ? "" : pieces[1]};
}

/** Fills the cache unless it is filled; false while the device's fingerprint is not valid. */
bool setDeviceInfo() {
    if (android::isDeviceInfoCached) return true;

    const auto parts = split(android::base::GetProperty("ro.build.fingerprint", ""), '/');
    if (parts.size() != 6) {
        ALOGE("Invalid build.fingerprint format");
        return false;
    }
    const auto [device, release] = splitInTwo(parts[2]);
    const auto [incremental, buildType] = splitInTwo(parts[4]);
    const android::DeviceInfo info = {parts[0], parts[1],    device,    release,
                                      parts[3], incremental, buildType, parts[5]};
    // Copied, not moved: a second thread that comes here when the first one has been through writes
    // the same bytes to the same places, which the first may be reading.
    android::cachedDeviceInfo = info;
    android::isDeviceInfoCached = true;
    return true;
}

}  // namespace

// Memory monitor events.

namespace {

std::string textOf(const std::vector<unsigned char>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void setValue(KeyValue& element, const android::__MemKVPair& pair) {
    switch (pair.type) {
        case android::MEM_KV_TYPE_STRING:
            element.set_string_value(pair.value.string_value);
            break;
        case android::MEM_KV_TYPE_INT32:
            element.set_int32_value(pair.value.int32_value);
            break;
        case android::MEM_KV_TYPE_INT64:
            element.set_int64_value(pair.value.int64_value);
            break;
        case android::MEM_KV_TYPE_UINT32:
            element.set_uint32_value(pair.value.uint32_value);
            break;
        case android::MEM_KV_TYPE_UINT64:
            element.set_uint64_value(pair.value.uint64_value);
            break;
        case android::MEM_KV_TYPE_BOOL:
            element.set_bool_value(true);  // Deliberate: whatever the pair holds.
            break;
        case android::MEM_KV_TYPE_DOUBLE:
            element.set_double_value(pair.value.double_value);
            break;
        case android::MEM_KV_TYPE_FLOAT:
            element.set_float_value(pair.value.float_value);
            break;
        case android::MEM_KV_TYPE_BYTES:
            element.set_bytes_value(textOf(pair.value.bytes_value));
            break;
        case android::MEM_KV_TYPE_NONE:
        default:
            break;
    }
}

/** Adds a pair as two elements, deliberately: one holds only its key, the next one only its value. */
bool addPair(MemMonitorEvent& event, const android::__MemKVPair& pair) {
    const bool holdsValue =
        pair.type >= android::MEM_KV_TYPE_STRING && pair.type <= android::MEM_KV_TYPE_BYTES;
    if (!holdsValue) return logInvalidType(pair.type);
    event.add_kvs()->set_key(pair.key);
    setValue(*event.add_kvs(), pair);
    return true;
}

bool addExtraInfo(MemMonitorEvent& event, std::span<const android::__MemKVPair> pairs) {
    return std::ranges::all_of(pairs, [&](const auto& pair) { return addPair(event, pair); });
}

/** Sets all eight fields, also to empty texts. */
void addDeviceInfo(MemMonitorEvent& event, const android::DeviceInfo& info) {
    event.set_brand(info.brand);
    event.set_product(info.product);
    event.set_device(info.device);
    event.set_release(info.release);
    event.set_build_id(info.build_id);
    event.set_incremental(info.incremental);
    event.set_build_type(info.build_type);
    event.set_tags(info.tags);
}

}  // namespace

// Deliberate: every line is an ERROR, also the one that tells the size.
void android::reportMemMonitorEvent(__MemKVPair* kv, unsigned long kvcount) {
    if (kv == nullptr || kvcount == 0) {
        ALOGE("reportMemMonitorEvent kv is null or kvcount is 0");
        return;
    }
    MemMonitorEvent event;
    if (!addExtraInfo(event, {kv, kvcount})) {
        ALOGE("reportMemMonitorEvent addExtraInfo failed");
        return;
    }
    event.set_uptime_ms(monotonicMs());
    event.set_timestamp_ms(wallClockMs());
    if (!setDeviceInfo()) {
        ALOGE("reportMemMonitorEvent setDeviceInfo failed");
        return;
    }
    addDeviceInfo(event, cachedDeviceInfo);

    // Partial, as the elements that hold a value lack the required key.
    const std::string record = event.SerializePartialAsString();
    const auto bytes = byteArray(record);
    ALOGE("et size: %zu", record.size());
    __android_sysevents_buf_writes(wallClockMs(), kMemMonitorEventId, bytes.get(),
                                   static_cast<int>(record.size()));
}

// Core dump decision.

namespace {

constexpr char kTrimFlagNode[] = "/proc/sys/kernel/coredump_trim_flag";
constexpr char kCoredumpDisableNode[] = "/proc/sys/kernel/coredump_disable";
constexpr char kCoredumpLatchPrefix[] = "dumpstate.coredump.";

constexpr int kTrimModeMask = 3;
constexpr int kTrimModeOff = 0;
constexpr int kTrimModeOncePerName = 1;
constexpr int kTrimVeto = 0x1000;

/** Reads the policy word into flag; on failure logs why and returns false. */
bool readTrimFlag(int* flag) {
    ScopedFile node(fopen(kTrimFlagNode, "r"));
    if (node == nullptr) {
        // Deliberate: at INFO, while a node that holds no integer is an ERROR.
        ALOGI("Failed to open sysctl node for read");
        return false;
    }
    if (fscanf(node.get(), "%d", flag) != 1) {
        ALOGE("error reading integer from coredump_trim_flag");
        return false;
    }
    return true;
}

/** True for the first core dump of this name since boot, which uses the name's latch up. */
bool takeCoredumpLatch(const char* processName) {
    std::string key = std::string(kCoredumpLatchPrefix) + processName;
    std::replace(key.begin(), key.end(), '/', '-');

    char value[PROPERTY_VALUE_MAX] = {};
    property_get(key.c_str(), value, "0");
    if (atoi(value) != 0) return false;
    property_set(key.c_str(), "1");
    return true;
}

void writeCoredumpDisable(int disable, const char* processName) {
    ScopedFile node(fopen(kCoredumpDisableNode, "w"));
    if (node == nullptr) return;
    fprintf(node.get(), "%d", disable);
    node.reset();
    ALOGI("%s coredump for %s", disable ? "disable" : "enable", processName);
}

}  // namespace

bool android::needCoredump(const char* processName) {
    int flag = 0;
    if (!readTrimFlag(&flag)) return false;

    const int mode = flag & kTrimModeMask;
    // Deliberate: the kernel switch keeps the value of the decision before.
    if (mode == kTrimModeOff || (flag & kTrimVeto) != 0) return false;

    const bool allowed = mode != kTrimModeOncePerName || takeCoredumpLatch(processName);
    writeCoredumpDisable(allowed ? 0 : 1, processName);
    return allowed;
}

// System-killed latch.

namespace {

constexpr char kSystemKilledLatch[] = "sys.stab.system_killed";
constexpr int kLatchUnset = 0;

struct CrashLatch {
    std::string_view prefix;
    int cause;
};
constexpr CrashLatch kCrashLatches[] = {{"system_server", 2}, {"zygote", 5}};

int readSystemKilledLatch() {
    return property_get_int32(kSystemKilledLatch, kLatchUnset);
}

void writeSystemKilledLatch(int cause) {
    char value[8];
    snprintf(value, sizeof(value), "%d", cause);
    property_set(kSystemKilledLatch, value);
}

/** Marks the crash of system_server or zygote, unless an earlier cause is still recorded. */
void latchCrash(std::string_view processName) {
    for (const CrashLatch& latch : kCrashLatches) {
        if (!processName.starts_with(latch.prefix)) continue;
        if (readSystemKilledLatch() == kLatchUnset) writeSystemKilledLatch(latch.cause);
    }
}

}  // namespace

// Driver notifications.

namespace {

constexpr char kStabDriverNode[] = "/dev/stabd";

constexpr uint32_t kEventNotification = 1;  // stab_notify_record::kind

constexpr uint64_t kCrashFlags = 0x3611f;
constexpr uint64_t kFlagSystemServerAborted = UINT64_C(1) << 10;
constexpr uint64_t kFlagCoredumpAllowed = UINT64_C(1) << 15;
constexpr uint64_t kFlagSegmentationFault = UINT64_C(1) << 33;
constexpr uint64_t kSystemKilledFlags = 0x1f;

enum KillCause : int {
    kFirstKillCause = 1,
    kSystemServerKilled = 4,
    kZygoteKilled = 6,
    kLastKillCause = kZygoteKilled,
};

// Deliberate: "bstabd" is the fixed wording of this line.
void logDriverError(int error) {
    ALOGE("notify_stab_driver write bstabd driver error: %d", error);
}

void notify_stab_driver(const stab_notify_record& record) {
    ScopedFd node(open(kStabDriverNode, O_RDWR));
    if (!node.valid()) return logDriverError(errno);
    while (write(node.get(), &record, sizeof(record)) < 0) {
        if (errno == EINTR) continue;
        node.reset();  // The line reports errno as close leaves it.
        return logDriverError(errno);
    }
}

/** Copies text into a field that holds only zeros, cut so that a final NUL remains. */
template <size_t size>
void copyText(char (&field)[size], const char* text) {
    memcpy(field, text, strnlen(text, size - 1));
}

stab_notify_record makeEventRecord(int eventType, int pid, uint64_t flags) {
    stab_notify_record record = {};
    record.event_type = static_cast<uint32_t>(eventType);
    record.flags = flags;
    record.pid = pid;
    record.kind = kEventNotification;
    return record;
}

/** The flags of a native crash; makes the core dump decision on the way. */
uint64_t crashFlags(const char* processName, int signo, int code) {
    uint64_t flags = kCrashFlags;
    if (signo == SIGABRT && code == SI_KERNEL && strstr(processName, "system_server") != nullptr) {
        flags |= kFlagSystemServerAborted;
    }
    if (android::needCoredump(processName)) flags |= kFlagCoredumpAllowed;
    if (signo == SIGSEGV) flags |= kFlagSegmentationFault;
    return flags;
}

}  // namespace

void notify_stab_ne(const char* process_name, int pid, int signo, int code, const char* detail) {
    ALOGI("%s process: %s pid: %d, signo: %d", "notify_stab_ne", process_name, pid, signo);

    const uint64_t flags = crashFlags(process_name, signo, code);
    stab_notify_record record = makeEventRecord(kNativeCrash, pid, flags);
    copyText(record.detail, detail);
    copyText(record.process_name, process_name);
    notify_stab_driver(record);

    android::reportStabEvent(kNativeCrash, pid, process_name, 0, nullptr);
    latchCrash(process_name);
}

void notify_stab_system_killed(int type, int pid) {
    if (type < kFirstKillCause || type > kLastKillCause) {
        ALOGE("%s invalid type: %d", "notify_stab_system_killed", type);
        return;
    }
    if (readSystemKilledLatch() != kLatchUnset) {
        if (type == kZygoteKilled) writeSystemKilledLatch(kLatchUnset);
        return;
    }
    if (type != kZygoteKilled) writeSystemKilledLatch(type);
    if (type != kZygoteKilled && type != kSystemServerKilled) return;

    ALOGI("%s notify type: %d", "notify_stab_system_killed", type);
    const char* const name = type == kSystemServerKilled ? "system_server" : "zygote";
    stab_notify_record record = makeEventRecord(kSystemKilled, pid, kSystemKilledFlags);
    copyText(record.process_name, name);
    notify_stab_driver(record);

    android::reportStabEvent(kSystemKilled, pid, name, 0, nullptr);
}

void notify_extra_log_finish(int pid) {
    notify_stab_driver(makeEventRecord(kExtraLogFinished, pid, 0));
}

void notify_stab_block_logo(int word0, int word1) {
    // This record has a shape of its own: two words, then zeros.
    const int32_t words[] = {word0, word1};
    stab_notify_record record = {};
    memcpy(&record, words, sizeof(words));
    notify_stab_driver(record);
}
