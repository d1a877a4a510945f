#include "PrintRecord.h"

#include <ctype.h>
#include <inttypes.h>
#include <stdio.h>
#include <time.h>

#include <map>

#include "proto/wardline_records.pb.h"

namespace {

constexpr size_t kBytesPerLine = 16;

bool isPlain(char c) {
    return isprint(static_cast<unsigned char>(c)) != 0;
}

void printHexLine(size_t offset, std::string_view line) {
    printf("    %04zx ", offset);
    for (size_t i = 0; i < kBytesPerLine; ++i) {
        i < line.size() ? printf(" %02x", static_cast<unsigned char>(line[i])) : printf("   ");
    }
    printf("  |");
    for (char c : line)
        putchar(isPlain(c) ? c : '.');
    printf("|\n");
}

void printFigure(const KeyValue& element) {
    if (element.has_key()) printf("  key           %s\n", inQuotes(element.key()).c_str());
    switch (element.value_case()) {
        case KeyValue::kStringValue:
            printf("  string_value  %s\n", inQuotes(element.string_value()).c_str());
            return;
        case KeyValue::kInt32Value:
            printf("  int32_value   %" PRId32 "\n", element.int32_value());
            return;
        case KeyValue::kInt64Value:
            printf("  int64_value   %" PRId64 "\n", element.int64_value());
            return;
        case KeyValue::kUint32Value:
            printf("  uint32_value  %" PRIu32 "\n", element.uint32_value());
            return;
        case KeyValue::kUint64Value:
            printf("  uint64_value  %" PRIu64 "\n", element.uint64_value());
            return;
        case KeyValue::kBoolValue:
            printf("  bool_value    %s\n", element.bool_value() ? "true" : "false");
            return;
        case KeyValue::kDoubleValue:
            printf("  double_value  %.17g\n", element.double_value());
            return;
        case KeyValue::kFloatValue:
            printf("  float_value   %.9g\n", static_cast<double>(element.float_value()));
            return;
        case KeyValue::kBytesValue:
            printf("  bytes_value   %s\n", inQuotes(element.bytes_value()).c_str());
            return;
        case KeyValue::VALUE_NOT_SET:
            return;
    }
}

}  // namespace

std::string inQuotes(std::string_view text) {
    std::string result = "\"";
    for (char c : text) {
        char escaped[8];
        snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(c));
        if (c == '"' || c == '\\') result += '\\';
        isPlain(c) ? result += c : result += escaped;
    }
    return result + '"';
}

void printHex(std::string_view bytes) {
    for (size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
        printHexLine(offset, bytes.substr(offset, kBytesPerLine));
    }
}

std::string utcTime(int64_t timeMs) {
    const time_t seconds = timeMs / 1000;
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[64];
    const size_t length = strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    snprintf(text + length, sizeof(text) - length, ".%03dZ", static_cast<int>(timeMs % 1000));
    return text;
}

void printStabEvent(const std::string& record) {
    StabEvent event;
    if (!event.ParseFromString(record)) {
        printf("  damaged: not a whole StabEvent\n");
        return;
    }
    printf("  event_type    %" PRIu32 "\n", event.event_type());
    printf("  process_name  %s\n", inQuotes(event.process_name()).c_str());
    printf("  pid           %" PRIu32 "\n", event.pid());
    printf("  timestamp_ms  %" PRIu64 "\n", event.timestamp_ms());
    for (const auto& [key, value] : std::map(event.data().begin(), event.data().end())) {
        printf("  data          %s = %s\n", inQuotes(key).c_str(), inQuotes(value).c_str());
    }
}

void printLockTimeouts(const std::string& record) {
    ArtLockTimeoutData data;
    if (!data.ParseFromString(record)) {
        printf("  damaged: not a whole ArtLockTimeoutData\n");
        return;
    }
    for (const ArtLockTimeout& timeout : data.timeouts()) {
        printf("  name          %s\n", inQuotes(timeout.name()).c_str());
        printf("  timestamp     %s\n", inQuotes(timeout.timestamp()).c_str());
        printf("  wait_time     %" PRIu64 "\n", timeout.wait_time());
        printf("  owner         %" PRIu64 "\n", timeout.owner());
        printf("  owner_desc    %s\n", inQuotes(timeout.owner_desc()).c_str());
        printf("  object        %s\n", inQuotes(timeout.object()).c_str());
        printf("  extra1        %s\n", inQuotes(timeout.extra1()).c_str());
        printf("  extra2        %s\n", inQuotes(timeout.extra2()).c_str());
    }
}

void printMemSample(const std::string& record) {
    MemMonitorEvent event;
    // Elements without a key are what the library sends.
    if (!event.ParsePartialFromString(record)) {
        printf("  damaged: not a whole MemMonitorEvent\n");
        return;
    }
    printf("  timestamp_ms  %" PRId64 "\n", event.timestamp_ms());
    printf("  uptime_ms     %" PRId64 "\n", event.uptime_ms());
    printf("  brand         %s\n", inQuotes(event.brand()).c_str());
    printf("  product       %s\n", inQuotes(event.product()).c_str());
    printf("  device        %s\n", inQuotes(event.device()).c_str());
    printf("  release       %s\n", inQuotes(event.release()).c_str());
    printf("  build_id      %s\n", inQuotes(event.build_id()).c_str());
    printf("  incremental   %s\n", inQuotes(event.incremental()).c_str());
    printf("  build_type    %s\n", inQuotes(event.build_type()).c_str());
    printf("  tags          %s\n", inQuotes(event.tags()).c_str());
    for (const KeyValue& element : event.kvs())
        printFigure(element);
}
