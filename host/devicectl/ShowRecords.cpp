#include "ShowRecords.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "PrintRecord.h"
#include "records/DriverRecords.h"
#include "records/EventBufferFile.h"

namespace {

constexpr int kStabEventId = 36;
constexpr int kArtLockTimeoutId = 39;
constexpr int kMemMonitorEventId = 89;

void printEvent(size_t index, const BufferedEvent& event) {
    const bool isFile = event.operation == EventOperation::kSingleFileWrites;
    printf("event %zu: id %d, %s, %zu bytes%s\n", index, event.eventId,
           utcTime(event.timeMs).c_str(), event.payload.size(), isFile ? ", single file" : "");
    if (event.eventId == kStabEventId) printStabEvent(event.payload);
    if (event.eventId == kArtLockTimeoutId) printLockTimeouts(event.payload);
    if (event.eventId == kMemMonitorEventId) printMemSample(event.payload);
    printHex(event.payload);
}

void printDriverRecord(size_t index, const stab_notify_record& record) {
    const auto text = [](const auto& field) {
        return inQuotes(std::string_view(field, strnlen(field, sizeof(field))));
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
