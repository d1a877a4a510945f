#include "see/ShowRecords.h"

#include <stdlib.h>

#include <charconv>
#include <cmath>
#include <map>

#include "proto/wardline_records.pb.h"

namespace {

void showUnknown(const std::string& fields, const std::string& prefix, RecordWriter& writer) {
    for (const UnknownField& field : unknownFields(fields, prefix))
        writer.unknown(field);
}

/** The number that has the shortest text for this one; a float's text is shorter than a double's. */
template <typename Real>
Json::Value realNumber(Real value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
    char text[64] = {};
    std::to_chars(text, text + sizeof(text) - 1, value);
    return strtod(text, nullptr);
}

/** The value of an element, under the key of its own or of the element before. */
void showFigure(const std::string* key, const KeyValue& element, RecordWriter& writer) {
    switch (element.value_case()) {
        case KeyValue::kStringValue:
            return writer.figure(key, "string", element.string_value());
        case KeyValue::kInt32Value:
            return writer.figure(key, "int32", Json::Value(element.int32_value()));
        case KeyValue::kInt64Value:
            return writer.figure(key, "int64", Json::Value(Json::Int64(element.int64_value())));
        case KeyValue::kUint32Value:
            return writer.figure(key, "uint32", Json::Value(element.uint32_value()));
        case KeyValue::kUint64Value:
            return writer.figure(key, "uint64", Json::Value(Json::UInt64(element.uint64_value())));
        case KeyValue::kBoolValue:
            return writer.figure(key, "bool", Json::Value(element.bool_value()));
        case KeyValue::kDoubleValue:
            return writer.figure(key, "double", realNumber(element.double_value()));
        case KeyValue::kFloatValue:
            return writer.figure(key, "float", realNumber(element.float_value()));
        case KeyValue::kBytesValue:
            return writer.figure(key, "bytes", element.bytes_value());
        case KeyValue::VALUE_NOT_SET:
            return writer.figure(key, "", Json::Value());
    }
}

bool hasValue(const KeyValue& element) {
    return element.value_case() != KeyValue::VALUE_NOT_SET;
}

void showFigures(const MemMonitorEvent& event, RecordWriter& writer) {
    for (int i = 0; i < event.kvs_size(); ++i) {
        const KeyValue& element = event.kvs(i);
        const bool isJoined = element.has_key() && !hasValue(element) && i + 1 < event.kvs_size() &&
                              !event.kvs(i + 1).has_key() && hasValue(event.kvs(i + 1));
        if (isJoined) showUnknown(element.unknown_fields(), "11.", writer);
        i += isJoined ? 1 : 0;
        showFigure(element.has_key() ? &element.key() : nullptr, event.kvs(i), writer);
        showUnknown(event.kvs(i).unknown_fields(), "11.", writer);
    }
}

}  // namespace

void showStabEvent(const std::string& record, RecordWriter& writer) {
    StabEvent event;
    event.ParseFromString(record);
    if (event.has_event_type()) writer.number("event_type", event.event_type());
    if (event.has_process_name()) writer.text("process_name", event.process_name());
    if (event.has_pid()) writer.number("pid", event.pid());
    if (event.has_timestamp_ms()) writer.time("timestamp_ms", uint64_t{event.timestamp_ms()});
    for (const auto& [key, value] : std::map(event.data().begin(), event.data().end()))
        writer.attribute(key, value);
    showUnknown(event.unknown_fields(), "", writer);
}

void showLockTimeout(const std::string& record, RecordWriter& writer) {
    ArtLockTimeout timeout;
    timeout.ParseFromString(record);
    if (timeout.has_name()) writer.text("name", timeout.name());
    if (timeout.has_timestamp()) writer.text("timestamp", timeout.timestamp());
    if (timeout.has_wait_time()) writer.number("wait_time", Json::UInt64(timeout.wait_time()));
    if (timeout.has_owner()) writer.number("owner", Json::UInt64(timeout.owner()));
    if (timeout.has_owner_desc()) writer.text("owner_desc", timeout.owner_desc());
    if (timeout.has_object()) writer.text("object", timeout.object());
    if (timeout.has_extra1()) writer.text("extra1", timeout.extra1());
    if (timeout.has_extra2()) writer.text("extra2", timeout.extra2());
    showUnknown(timeout.unknown_fields(), "", writer);
}

void showMemEvent(const std::string& record, RecordWriter& writer) {
    MemMonitorEvent event;
    // The elements that hold a value alone lack a key that the schema requires.
    event.ParsePartialFromString(record);
    if (event.has_timestamp_ms()) writer.time("timestamp_ms", int64_t{event.timestamp_ms()});
    if (event.has_uptime_ms()) writer.number("uptime_ms", Json::Int64(event.uptime_ms()));
    if (event.has_brand()) writer.text("brand", event.brand());
    if (event.has_product()) writer.text("product", event.product());
    if (event.has_device()) writer.text("device", event.device());
    if (event.has_release()) writer.text("release", event.release());
    if (event.has_build_id()) writer.text("build_id", event.build_id());
    if (event.has_incremental()) writer.text("incremental", event.incremental());
    if (event.has_build_type()) writer.text("build_type", event.build_type());
    if (event.has_tags()) writer.text("tags", event.tags());
    showFigures(event, writer);
    showUnknown(event.unknown_fields(), "", writer);
}
