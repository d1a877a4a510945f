#include "see/Kinds.h"

#include <algorithm>

#include "internal/StabNotifyRecord.h"
#include "proto/wardline_records.pb.h"
#include "see/DriverRecord.h"
#include "see/FileName.h"

namespace {

struct KindName {
    Kind kind;
    const char* name;
};
constexpr KindName kNames[] = {{Kind::kStabEvent, "stab-event"},
                               {Kind::kMemEvent, "mem-event"},
                               {Kind::kMemBatch, "mem-batch"},
                               {Kind::kLockTimeout, "lock-timeout"},
                               {Kind::kDriver, "driver"}};

constexpr std::string_view kDriverName = "stabd";  // Its node, and what a device keeps of it.

constexpr MessageShape kNoMessages;
constexpr MessageShape kMapEntry = {.isMapEntry = true};
constexpr MessageShape kStabEventShape = {5, &kMapEntry};
constexpr MessageShape kMemEventShape = {11, &kNoMessages};
constexpr MessageShape kMemBatchShape = {1, &kMemEventShape};
constexpr MessageShape kLockTimeoutsShape = {1, &kNoMessages};

template <typename Record>
Record parsed(const std::string& bytes) {
    Record record;
    record.ParsePartialFromString(bytes);
    return record;
}

size_t unknownBytes(const StabEvent& event) {
    return event.unknown_fields().size();
}

size_t unknownBytes(const MemMonitorEvent& event) {
    size_t unknown = event.unknown_fields().size();
    for (const KeyValue& element : event.kvs())
        unknown += element.unknown_fields().size();
    return unknown;
}

size_t unknownBytes(const SMemMonitorEvent& batch) {
    size_t unknown = batch.unknown_fields().size();
    for (const MemMonitorEvent& event : batch.events())
        unknown += unknownBytes(event);
    return unknown;
}

size_t unknownBytes(const ArtLockTimeoutData& data) {
    size_t unknown = data.unknown_fields().size();
    for (const ArtLockTimeout& timeout : data.timeouts())
        unknown += timeout.unknown_fields().size();
    return unknown;
}

/** How many of the bytes are in fields that the record's schema knows. */
template <typename Record>
size_t knownBytes(std::string_view bytes, const MessageShape& shape) {
    const Salvage read = salvage(bytes, shape, 0);
    size_t dropped = 0;
    for (const UnknownField& field : read.dropped)
        dropped += field.bytes.size() + 1;
    const size_t unknown = unknownBytes(parsed<Record>(read.record)) + dropped;
    return read.record.size() - std::min(unknown, read.record.size());
}

/** Whether half of the whole records in the bytes, and one at least, are such as the library writes. */
bool isDriver(std::string_view bytes) {
    constexpr size_t kSize = sizeof(stab_notify_record);
    const size_t count = bytes.size() / kSize;
    size_t sound = 0;
    for (size_t i = 0; i < count; ++i)
        sound += findDriverDamage(bytes.substr(i * kSize, kSize)) ? 0 : 1;
    return count > 0 && 2 * sound >= count;
}

/** The kind whose schema knows the most of the bytes, unless another one knows as many. */
std::optional<Kind> findMessage(std::string_view bytes) {
    const std::pair<size_t, Kind> candidates[] = {
        {knownBytes<StabEvent>(bytes, kStabEventShape), Kind::kStabEvent},
        {knownBytes<MemMonitorEvent>(bytes, kMemEventShape), Kind::kMemEvent},
        {knownBytes<SMemMonitorEvent>(bytes, kMemBatchShape), Kind::kMemBatch},
        {knownBytes<ArtLockTimeoutData>(bytes, kLockTimeoutsShape), Kind::kLockTimeout}};
    const auto best = std::ranges::max_element(candidates);
    const auto isBest = [&](const auto& candidate) { return candidate.first == best->first; };
    if (best->first == 0 || std::ranges::count_if(candidates, isBest) > 1) return {};
    return best->second;
}

}  // namespace

const char* nameOf(Kind kind) {
    return std::ranges::find(kNames, kind, &KindName::kind)->name;
}

std::optional<Kind> kindNamed(std::string_view name) {
    const auto found = std::ranges::find(kNames, name, &KindName::name);
    if (found == std::end(kNames)) return {};
    return found->kind;
}

std::optional<Kind> kindOfEvent(int eventId) {
    switch (eventId) {
        case kStabEventId:
            return Kind::kStabEvent;
        case kLockTimeoutId:
            return Kind::kLockTimeout;
        case kMemEventId:
            return Kind::kMemEvent;
        default:
            return {};
    }
}

const MessageShape& shapeOf(Kind kind) {
    switch (kind) {
        case Kind::kStabEvent:
            return kStabEventShape;
        case Kind::kMemEvent:
        case Kind::kMemBatch:
            return kMemEventShape;
        case Kind::kLockTimeout:
        case Kind::kDriver:
            return kNoMessages;
    }
    return kNoMessages;
}

std::optional<Kind> findKind(std::string_view fileName, std::string_view bytes) {
    if (findEventFileName(fileName)) return Kind::kStabEvent;
    const std::string_view name = fileName.substr(fileName.rfind('/') + 1);
    if (name.starts_with(kDriverName) || isDriver(bytes)) return Kind::kDriver;
    return findMessage(bytes);
}
