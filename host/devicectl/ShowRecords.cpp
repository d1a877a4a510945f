#include "ShowRecords.h"

#include <ctype.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <map>
#include <string>
#include <string_view>

#include "records/DriverRecords.h"
#include "records/EventBufferFile.h"
#include "wardline_records.pb.h"

namespace {

constexpr size_t kBytesPerLine = 16;
constexpr int kStabEventId = 36;

bool isPlain(char c) {
    return isprint(static_cast<unsigned char>(c)) != 0;
}

/** In quotes, with the bytes that a terminal cannot show in hex. */
std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (char c : text) {
        char escaped[8];
        snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(c));
        if (c == '"' || c == '\\') result += '\\';
        isPlain(c) ? result += c : result += escaped;
    }
    return result + '"';
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

void printStabEvent(const std::string& payload) {
    StabEvent event;
    if (!event.ParseFromString(payload)) {
        printf("  damaged: not a whole StabEvent\n");
        return;
    }
    printf("  event_type    %" PRIu32 "\n", event.event_type());
    printf("  process_name  %s\n", quoted(event.process_name()).c_str());
    printf("  pid           %" PRIu32 "\n", event.pid());
    printf("  timestamp_ms  %" PRIu64 "\n", event.timestamp_ms());
    for (const auto& [key, value] : std::map(event.data().begin(), event.data().end())) {
        printf("  data          %s = %s\n", quoted(key).c_str(), quoted(value).c_str());
    }
}

void printEvent(size_t index, const BufferedEvent& event) {
    const bool isFile = event.operation == EventOperation::kSingleFileWrites;
    printf("event %zu: id %d, %s, %zu bytes%s\n", index, event.eventId,
           utcTime(event.timeMs).c_str(), event.payload.size(), isFile ? ", single file" : "");
    if (event.eventId == kStabEventId) printStabEvent(event.payload);
    printHex(event.payload);
}

void printDriverRecord(size_t index, const stab_notify_record& record) {
    const auto text = [](const auto& field) {
        return quoted(std::string_view(field, strnlen(field, sizeof(field))));
    };
    printf("driver record %zu: %zu bytes\n", index, sizeof(record));
    printf("  process_name  %s\n", text(record.process_name).c_str());
    printf("  event_type    %" PRIu32 "\n", record.event_type);
    printf("  flags         0x%" PRIx64 "\n", record.flags);
    printf("  pid           %" PRId32 "\n", record.pid);
    printf("  detail        %s\n", text(record.detail).c_str());
    printf("  kind          %" PRIu32 "\n", record.kind);
    printHex({reinterpret_cast<const char*>(&record), sizeof(record)});
}

}  // namespace

void showDriverRecords(size_t first) {
    const auto records = listDriverRecords();
    for (size_t i = first; i < records.size(); ++i)
        printDriverRecord(i, records[i]);
}

void showEvents(size_t first) {
    const auto events = readEventBuffer();
    for (size_t i = first; i < events.size(); ++i)
        printEvent(i, events[i]);
}
