#include "see/See.h"

#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <memory>

#include "ExitCode.h"
#include "Terminal.h"
#include "Text.h"
#include "records/DriverRecords.h"
#include "records/EventBufferFile.h"
#include "see/Decode.h"
#include "see/EventFiles.h"
#include "see/Follow.h"
#include "see/JsonWriter.h"
#include "see/TextWriter.h"

namespace {

constexpr size_t kBytesThatTell = 65536;

std::unique_ptr<RecordWriter> makeWriter(const SeeOptions& options) {
    if (options.isJson) return std::make_unique<JsonWriter>(options.showsBytes);
    return std::make_unique<TextWriter>(options.showsBytes);
}

/** The kind of what is in an input, with a message when it cannot be told. */
std::optional<Kind> kindOf(const std::string& path, Input& input) {
    const std::optional<Kind> kind = findKind(path, input.peek(kBytesThatTell));
    if (!kind) complain(path + ": cannot tell the kind of record; name it with --as");
    return kind;
}

BeginRecord recordHeading(const std::string& source, Kind kind, RecordWriter& writer) {
    return [=, &writer](const Place& place) {
        Json::Value members;
        setBytes(members, "file", source);
        members["record"] = Json::UInt64(place.index);
        members["kind"] = nameOf(kind);
        members["offset"] = Json::UInt64(place.offset);
        members["size"] = Json::UInt64(place.size);
        writer.begin("record " + std::to_string(place.index) + ": " + nameOf(kind) + ", " +
                         std::to_string(place.size) + " bytes at offset " +
                         std::to_string(place.offset),
                     members);
    };
}

bool decodeInput(const std::string& source, Input& input, std::optional<Kind> kind,
                 RecordWriter& writer) {
    if (input.atEnd()) {
        complain(
            source + ": " +
            (input.error() != 0 ? strerror(input.error()) : "empty: there is no record in it"));
        return false;
    }
    if (!kind) kind = kindOf(source, input);
    if (!kind) return false;
    Decoder decoder(writer, source);
    const std::optional<std::string_view> name = findEventFileName(source);
    if (name && kind == Kind::kStabEvent) decoder.expectName(*name);
    return decoder.decode(*kind, input, recordHeading(source, *kind, writer));
}

bool decodeFile(const std::string& path, std::optional<Kind> kind, const SeeOptions& options,
                RecordWriter& writer) {
    const std::string source = sourceName(path);
    Input input(path);
    if (!input.ok()) {
        complain(source + ": " + strerror(errno));
        return false;
    }
    if (!options.isJson) printf("%s\n", painted(stdout, Colour::kHeading, source).c_str());
    return decodeInput(source, input, kind, writer);
}

std::optional<Kind> kindOfEvent(int32_t eventId) {
    switch (eventId) {
        case 36:
            return Kind::kStabEvent;
        case 39:
            return Kind::kLockTimeout;
        case 89:
            return Kind::kMemEvent;
        default:
            return {};
    }
}

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

int decodeFiles(const std::vector<std::string>& paths, std::optional<Kind> kind,
                const SeeOptions& options) {
    const auto writer = makeWriter(options);
    bool isSound = true;
    for (const std::string& path : paths.empty() ? std::vector<std::string>{"-"} : paths)
        isSound = decodeFile(path, kind, options, *writer) && isSound;
    return isSound ? kDone : kBadData;
}

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
