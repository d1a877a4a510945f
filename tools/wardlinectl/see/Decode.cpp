#include "see/Decode.h"

#include <string.h>

#include "Terminal.h"
#include "internal/StabNotifyRecord.h"
#include "proto/wardline_records.pb.h"
#include "see/DriverRecord.h"
#include "see/ShowRecords.h"

namespace {

constexpr uint32_t kElementTag = 0x0a;  // Field 1, length-delimited: an element of either list.
constexpr size_t kLargestRecord = INT32_MAX;
constexpr size_t kLongestHead = 15;
constexpr size_t kLongestGroup = 65536;  // A longer one takes all that is behind it.

void showFields(Kind kind, const std::string& record, RecordWriter& writer) {
    switch (kind) {
        case Kind::kStabEvent:
            return showStabEvent(record, writer);
        case Kind::kMemEvent:
        case Kind::kMemBatch:
            return showMemEvent(record, writer);
        case Kind::kLockTimeout:
            return showLockTimeout(record, writer);
        case Kind::kDriver:
            return showDriverRecord(record, writer);
    }
}

/** One for all that is decoded. */
Progress& progress() {
    static Progress progress("records");
    return progress;
}

}  // namespace

bool Decoder::decode(Kind kind, Input& input, const BeginRecord& begin) {
    switch (kind) {
        case Kind::kStabEvent:
        case Kind::kMemEvent:
            decodeOne(kind, input, begin);
            break;
        case Kind::kMemBatch:
        case Kind::kLockTimeout:
            decodeList(kind, input, begin);
            break;
        case Kind::kDriver:
            decodeDriver(input, begin);
            break;
    }
    progress().clear();
    if (input.error() == 0) return isSound_;
    complain(source_ + ": " + strerror(input.error()));
    return false;
}

void Decoder::decodeOne(Kind kind, Input& input, const BeginRecord& begin) {
    const std::string bytes = input.take(kLargestRecord + 1);
    begin({index_++, 0, bytes.size()});
    if (name_) showEventFileName(*name_, writer_);
    if (bytes.size() > kLargestRecord) {
        report({0, "the file is larger than any record"});
        return writer_.end();
    }
    showMessage(kind, bytes, 0);
    if (isNamed_) checkName(bytes);
    finishRecord(bytes);
}

void Decoder::decodeList(Kind kind, Input& input, const BeginRecord& begin) {
    while (!input.atEnd()) {
        const uint64_t start = input.offset();
        std::optional<FieldHead> field = readFieldHead(input.peek(kLongestHead));
        if (!field) field = readFieldHead(input.peek(kLongestGroup));
        if (field && field->tag == kElementTag) {
            decodeElement(kind, *field, input, begin);
        } else {
            const std::string bytes =
                field ? input.take(field->head + field->size) : input.takeAll();
            showOther(bytes, {index_++, start, bytes.size()}, begin);
        }
    }
}

void Decoder::decodeElement(Kind kind, const FieldHead& field, Input& input,
                            const BeginRecord& begin) {
    const uint64_t start = input.offset();
    const std::string head = input.take(field.head);
    const std::string bytes = input.take(field.size);
    begin({index_++, start, field.head + bytes.size()});
    showMessage(kind, bytes, start + field.head);
    if (bytes.size() < field.size) {
        report({start, "the record wants " + std::to_string(field.size) + " bytes, of which " +
                           std::to_string(bytes.size()) + " are there"});
    }
    finishRecord(head + bytes);
}

void Decoder::showOther(const std::string& field, Place place, const BeginRecord& begin) {
    begin(place);
    const Salvage read = salvage(field, {}, place.offset);
    for (const UnknownField& unknown : unknownFields(read.record, ""))
        writer_.unknown(unknown);
    for (const Damage& damage : read.damages)
        report(damage);
    finishRecord(field);
}

void Decoder::decodeDriver(Input& input, const BeginRecord& begin) {
    while (!input.atEnd()) {
        const uint64_t start = input.offset();
        const std::string bytes = input.take(sizeof(stab_notify_record));
        begin({index_++, start, bytes.size()});
        showDriverRecord(bytes, writer_);
        if (auto damage = findDriverDamage(bytes)) report({start + damage->offset, damage->what});
        finishRecord(bytes);
    }
}

void Decoder::showMessage(Kind kind, const std::string& bytes, uint64_t offset) {
    const Salvage read = salvage(bytes, shapeOf(kind), offset);
    showFields(kind, read.record, writer_);
    for (const UnknownField& field : read.dropped)
        writer_.unknown(field);
    for (const Damage& damage : read.damages)
        report(damage);
}

void Decoder::checkName(const std::string& bytes) {
    StabEvent event;
    event.ParseFromString(salvage(bytes, shapeOf(Kind::kStabEvent), 0).record);
    std::optional<uint64_t> time;
    if (event.has_timestamp_ms()) time = event.timestamp_ms();
    const std::optional<std::string> problem =
        name_ ? findNameProblem(*name_, time) : "this is not the name of a stability event file";
    if (!problem) return;
    isSound_ = false;
    writer_.problem({}, *problem);
    complain(source_ + ": " + *problem);
}

void Decoder::report(const Damage& damage) {
    isSound_ = false;
    writer_.problem(damage.offset, damage.what);
    complain(source_ + ": damaged at offset " + std::to_string(damage.offset) + ": " + damage.what);
}

void Decoder::finishRecord(std::string_view bytes) {
    writer_.bytes(bytes);
    progress().clear();
    writer_.end();
    progress().advance();
}
