#include <android-base/properties.h>
#include <errno.h>
#include <stdlib.h>
#include <time.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/Timestamp.h>

#include <charconv>
#include <cmath>
#include <optional>

#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "Text.h"
#include "proto/wardline_records.pb.h"
#include "see/Kinds.h"
#include "send/DryRun.h"
#include "send/Send.h"

namespace {

/** The whole text as a number, in range. */
template <typename Integer>
std::optional<Integer> integer(const std::string& text) {
    Integer value = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end) return {};
    return value;
}

/** The same for real numbers; what is infinite must be called so. */
template <typename Real>
std::optional<Real> real(const std::string& text, Real (*convert)(const char*, char**)) {
    char* end = nullptr;
    errno = 0;
    const Real value = convert(text.c_str(), &end);
    if (text.empty() || *end != '\0' || (errno == ERANGE && std::isinf(value))) return {};
    return value;
}

/** Adds a figure to a sample. False when the type does not exist, or the value is none of it. */
bool add(android::MemKVPairArray& sample, const std::string& key, const std::string& type,
         const std::string& text) {
    const auto addNumber = [&](auto value, auto adder) {
        if (value) (sample.*adder)(key, *value);
        return value.has_value();
    };
    using Array = android::MemKVPairArray;
    if (type == "int32") return addNumber(integer<int32_t>(text), &Array::addInt32);
    if (type == "int64") return addNumber(integer<int64_t>(text), &Array::addInt64);
    if (type == "uint32") return addNumber(integer<uint32_t>(text), &Array::addUint32);
    if (type == "uint64") return addNumber(integer<uint64_t>(text), &Array::addUint64);
    if (type == "double") return addNumber(real(text, strtod), &Array::addDouble);
    if (type == "float") return addNumber(real(text, strtof), &Array::addFloat);
    if (type == "bool") {
        sample.addBool(key, text == "true");
        return text == "true" || text == "false";
    }
    if (type == "bytes") {
        std::string bytes;
        const bool isHex = fromHex(text, &bytes);
        sample.addBytes(key, {bytes.begin(), bytes.end()});
        return isHex;
    }
    sample.addString(key, text);
    return type == "string";
}

/** As in an event: the key in an element of its own, and the value in the next one. */
void addElements(const android::__MemKVPair& pair, MemMonitorEvent* event) {
    event->add_kvs()->set_key(pair.key);
    KeyValue& element = *event->add_kvs();
    switch (pair.type) {
        case android::MEM_KV_TYPE_STRING:
            return element.set_string_value(pair.value.string_value);
        case android::MEM_KV_TYPE_INT32:
            return element.set_int32_value(pair.value.int32_value);
        case android::MEM_KV_TYPE_INT64:
            return element.set_int64_value(pair.value.int64_value);
        case android::MEM_KV_TYPE_UINT32:
            return element.set_uint32_value(pair.value.uint32_value);
        case android::MEM_KV_TYPE_UINT64:
            return element.set_uint64_value(pair.value.uint64_value);
        case android::MEM_KV_TYPE_BOOL:
            return element.set_bool_value(true);  // Whatever the pair holds.
        case android::MEM_KV_TYPE_DOUBLE:
            return element.set_double_value(pair.value.double_value);
        case android::MEM_KV_TYPE_FLOAT:
            return element.set_float_value(pair.value.float_value);
        case android::MEM_KV_TYPE_BYTES:
            return element.set_bytes_value(
                std::string(pair.value.bytes_value.begin(), pair.value.bytes_value.end()));
        default:
            return;
    }
}

/** The pieces between separators; one that the text ends with ends no further piece. */
std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const size_t end = std::min(text.find(separator), text.size());
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

bool setBuild(const std::string& fingerprint, MemMonitorEvent* event) {
    const std::vector<std::string> components = split(fingerprint, '/');
    if (components.size() != 6) return false;
    std::vector<std::string> device = split(components[2], ':');
    std::vector<std::string> build = split(components[4], ':');
    device.resize(2);
    build.resize(2);
    event->set_brand(components[0]);
    event->set_product(components[1]);
    event->set_device(device[0]);
    event->set_release(device[1]);
    event->set_build_id(components[3]);
    event->set_incremental(build[0]);
    event->set_build_type(build[1]);
    event->set_tags(components[5]);
    return true;
}

int printSample(android::MemKVPairArray& sample) {
    MemMonitorEvent event;
    for (size_t i = 0; i < sample.size(); ++i)
        addElements(sample.data()[i], &event);
    timespec uptime = {};
    clock_gettime(CLOCK_MONOTONIC, &uptime);
    event.set_uptime_ms(int64_t{uptime.tv_sec} * 1000 + uptime.tv_nsec / 1000000);
    event.set_timestamp_ms(android::getTimestamp());
    if (!setBuild(android::base::GetProperty("ro.build.fingerprint", ""), &event)) {
        complain("the property ro.build.fingerprint does not have six components; nothing is sent");
        return kBadData;
    }
    printEvent(kMemEventId, event.SerializePartialAsString());
    return kDone;
}

}  // namespace

int reportMem(const MemFigures& figures, bool isDryRun) {
    android::MemKVPairArray sample;
    for (const auto& [key, type, value] : figures) {
        if (add(sample, key, type, value)) continue;
        complain("--pair " + inQuotes(key) + ": " + inQuotes(value) + " is no value of type " +
                 inQuotes(type));
        return kBadUsage;
    }
    if (isDryRun) return printSample(sample);
    android::reportMemMonitorEvent(sample.data(), sample.size());
    return hasLibraryFailed() ? kBadData : kDone;
}
