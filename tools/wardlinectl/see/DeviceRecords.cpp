#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "ExitCode.h"
#include "Terminal.h"
#include "Text.h"
#include "records/DriverRecords.h"
#include "records/EventBufferFile.h"
#include "see/Decode.h"
#include "see/EventFiles.h"
#include "see/Follow.h"
#include "see/MakeWriter.h"
#include "see/See.h"

namespace {

void beginEvent(uint64_t index, const Place& place, const BufferedEvent& event,
                RecordWriter& writer) {
    const bool isFile = event.operation == EventOperation::kSingleFileWrites;
    const auto kind = kindOfEvent(event.eventId);
    Json::Value members;
    members["event"] = Json::UInt64(index);
    members["record"] = Json::UInt64(place.index);
    members["id"] = event.eventId;
    members["kind"] = kind ? nameOf(*kind) : "unknown";
    members["time_ms"] = Json::Int64(event.timeMs);
    members["time"] = isoTime(event.timeMs);
    members["single_file"] = isFile;
    members["size"] = Json::UInt64(place.size);
    writer.begin("event " + std::to_string(index) + ": id " + std::to_string(event.eventId) + ", " +
                     std::to_string(event.timeMs) + " (" + isoTime(event.timeMs) + "), " +
                     std::to_string(place.size) + " bytes" + (isFile ? ", single" : ""),
                 members);
}

bool showEvent(uint64_t index, const BufferedEvent& event, RecordWriter& writer) {
    const auto begin = [&](const Place& place) { beginEvent(index, place, event, writer); };
    const auto kind = kindOfEvent(event.eventId);
    if (kind && !event.payload.empty()) {
        Input payload = Input::ofBytes(event.payload);
        return Decoder(writer, "event " + std::to_string(index)).decode(*kind, payload, begin);
    }
    begin({0, 0, event.payload.size()});
    writer.bytes(event.payload);
    writer.end();
    return true;
}

bool showDriverRecord(uint64_t index, const stab_notify_record& record, RecordWriter& writer) {
    const std::string source = "driver record " + std::to_string(index);
    Input bytes = Input::ofBytes({reinterpret_cast<const char*>(&record), sizeof(record)});
    return Decoder(writer, source).decode(Kind::kDriver, bytes, [&](const Place& place) {
        Json::Value members;
        members["record"] = Json::UInt64(index);
        members["kind"] = nameOf(Kind::kDriver);
        members["size"] = Json::UInt64(place.size);
        writer.begin(source + ": " + std::to_string(place.size) + " bytes", members);
    });
}

/** Shows what a reader gives, from the first wanted record on, for as long as it is wanted. */
template <typename Reader, typename Show>
int showAll(Reader& reader, const SeeOptions& options, Show show) {
    const auto writer = makeWriter(options);
    bool isSound = true;
    uint64_t index = 0;
    do {
        while (const auto record = reader.next()) {
            if (reader.hasRestarted()) index = 0;
            if (index >= options.first) isSound = show(index, *record, *writer) && isSound;
            if (options.follows) fflush(stdout);
            ++index;
        }
    } while (options.follows && waitForMore());
    return isSound ? kDone : kBadData;
}

/** Whether there is anything to be read, with a message when there is not. */
bool isThere(const char* path, const char* what) {
    if (access(path, R_OK) == 0) return true;
    complain(std::string("there is no ") + what + " to be read here: " + path + ": " +
             strerror(errno));
    return false;
}

}  // namespace

int showEvents(const SeeOptions& options) {
    if (!isThere(kEventBufferFile, "event buffer")) return kBadData;
    EventBufferReader reader;
    return showAll(reader, options, showEvent);
}

int showDriver(const SeeOptions& options) {
    if (!isThere(kDriverRecordsNode, "record of the stability driver")) return kBadData;
    DriverRecordReader reader;
    return showAll(reader, options, showDriverRecord);
}

int showEventFiles(const SeeOptions& options) {
    const auto writer = makeWriter(options);
    EventFiles files;
    bool isSound = true;
    do {
        for (const EventFile& file : files.takeNew(options.follows))
            isSound = showEventFile(file, *writer) && isSound;
        if (isSound && !files.problem().empty()) {
            complain(files.problem());
            isSound = false;
        }
    } while (options.follows && waitForMore());
    return isSound ? kDone : kBadData;
}
