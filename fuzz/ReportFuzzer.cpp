// Any texts, numbers and fingerprints in reports: what arrives at the event buffer must be what was
// reported. This program is the buffer, and the property service.

#include <android-base/properties.h>
#include <android/log.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <wardline/DeviceInfo.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/StabEventReport.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include "internal/SysEventsBuffer.h"
#include "proto/wardline_records.pb.h"

namespace {

std::string fingerprint;
std::string payload;  // Of the latest report.

/** Takes values off the input; all are zero or empty when it has ended. */
class Input {
  public:
    Input(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return rest_.empty(); }

    template <typename Number>
    Number number() {
        Number number = 0;
        const std::string_view bytes = take(sizeof(number));
        memcpy(&number, bytes.data(), bytes.size());
        return number;
    }

    std::string text() { return std::string(take(number<uint8_t>())); }

  private:
    std::string_view take(size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest_;
};

void check(bool isTrue) {
    if (!isTrue) abort();
}

void reportEvent(Input& input) {
    const auto type = input.number<int32_t>();
    const auto pid = input.number<int32_t>();
    const std::string name = input.text();
    const unsigned long timeMs = std::max<uint64_t>(input.number<uint64_t>(), 1);
    std::map<std::string, std::string> data;
    while (!input.isEmpty()) {
        const std::string key = input.text();
        data.emplace(key, input.text());
    }

    android::reportStabEvent(type, pid, name, timeMs, &data);

    StabEvent event;
    check(event.ParseFromString(payload));
    check(event.event_type() == static_cast<uint32_t>(type));
    check(event.pid() == static_cast<uint32_t>(pid));
    check(event.process_name() == name);
    check(event.timestamp_ms() == timeMs);
    check(std::map<std::string, std::string>(event.data().begin(), event.data().end()) == data);
}

/** The part of text with this index, where the delimiter parts it; empty where there are fewer. */
std::string part(const std::string& text, char delimiter, int index) {
    std::istringstream stream(text);
    std::string part;
    for (int i = 0; i <= index; ++i) {
        if (!std::getline(stream, part, delimiter)) return "";
    }
    return part;
}

void checkBuild(const MemMonitorEvent& event) {
    const std::string device = part(fingerprint, '/', 2);
    const std::string incremental = part(fingerprint, '/', 4);
    check(event.brand() == part(fingerprint, '/', 0));
    check(event.product() == part(fingerprint, '/', 1));
    check(event.device() == part(device, ':', 0));
    check(event.release() == part(device, ':', 1));
    check(event.build_id() == part(fingerprint, '/', 3));
    check(event.incremental() == part(incremental, ':', 0));
    check(event.build_type() == part(incremental, ':', 1));
    check(event.tags() == part(fingerprint, '/', 5));
}

void reportSample(Input& input) {
    fingerprint = input.text();
    // As many as there are slashes, and one more unless it ends with one or is empty.
    const auto components = std::ranges::count(fingerprint, '/') +
                            (fingerprint.empty() || fingerprint.ends_with('/') ? 0 : 1);
    android::isDeviceInfoCached = false;
    payload.clear();
    android::MemKVPairArray sample;
    while (!input.isEmpty()) {
        const std::string text = input.text();
        sample.addString(input.text(), text);
        sample.addBytes(text, {text.begin(), text.end()});
        sample.addUint64("", input.number<uint64_t>());
    }

    android::reportMemMonitorEvent(sample.data(), sample.size());

    if (components != 6 || sample.size() == 0) return check(payload.empty());
    MemMonitorEvent event;
    check(event.ParsePartialFromString(payload));
    checkBuild(event);
    check(static_cast<size_t>(event.kvs_size()) == 2 * sample.size());
    for (int i = 0; i < event.kvs_size(); i += 6) {
        const android::__MemKVPair* const pairs = sample.data() + i / 2;
        check(event.kvs(i).key() == pairs[0].key);
        check(event.kvs(i + 1).string_value() == pairs[0].value.string_value);
        check(event.kvs(i + 3).bytes_value() == pairs[0].value.string_value);
        check(event.kvs(i + 5).uint64_value() == pairs[2].value.uint64_value);
    }
}

}  // namespace

int __android_sysevents_buf_writes(long, int, const unsigned char* bytes, int length) {
    payload.assign(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
    return 0;
}

int __android_sysevents_buf_single_file_writes(long timeMs, int eventId, const unsigned char* bytes,
                                               int length) {
    return __android_sysevents_buf_writes(timeMs, eventId, bytes, length);
}

int __android_log_print(int, const char*, const char*, ...) {
    return 1;
}

std::string android::base::GetProperty(const std::string&, const std::string&) {
    return fingerprint;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    input.number<uint8_t>() % 2 == 0 ? reportEvent(input) : reportSample(input);
    return 0;
}
