#include "send/DryRun.h"

#include <stdio.h>
#include <wardline/Timestamp.h>

#include "proto/wardline_records.pb.h"
#include "see/Decode.h"
#include "see/TextWriter.h"

namespace {

void print(const std::string& heading, Kind kind, std::string bytes) {
    TextWriter writer(true);
    Input input = Input::ofBytes(std::move(bytes));
    Decoder(writer, heading).decode(kind, input, [&](const Place& place) {
        writer.begin(heading + ", " + std::to_string(place.size) + " bytes", {});
    });
}

}  // namespace

void printEvent(int eventId, const std::string& record) {
    const std::string operation = eventId == kStabEventId ? ", single file" : "";
    print("event buffer: id " + std::to_string(eventId) + operation, *kindOfEvent(eventId), record);
}

void printEventFile(const std::string& name, const std::string& record) {
    print("file " + name, Kind::kStabEvent, record);
}

void printDriverRecord(const stab_notify_record& record) {
    print("/dev/stabd", Kind::kDriver, {reinterpret_cast<const char*>(&record), sizeof(record)});
}

void printSetting(const std::string& name, const std::string& value) {
    printf("%s = %s\n", name.c_str(), value.c_str());
}

std::string stabEvent(int type, int pid, const std::string& process, uint64_t timeMs,
                      const std::map<std::string, std::string>& data) {
    StabEvent event;
    event.set_event_type(static_cast<uint32_t>(type));
    event.set_pid(static_cast<uint32_t>(pid));
    event.set_process_name(process);
    event.set_timestamp_ms(timeMs == 0 ? static_cast<uint64_t>(android::getTimestamp()) : timeMs);
    for (const auto& [key, value] : data)
        (*event.mutable_data())[key] = value;
    return event.SerializeAsString();
}
