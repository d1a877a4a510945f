#include "see/DriverRecord.h"

#include <string.h>

#include "internal/StabNotifyRecord.h"

namespace {

constexpr size_t kWordBytes = sizeof(uint32_t);

/** The range of bytes that a field takes. */
struct Extent {
    size_t offset;
    size_t size;
};
constexpr Extent kReserved[] = {{offsetof(stab_notify_record, reserved1), 4},
                                {offsetof(stab_notify_record, reserved2), 8},
                                {offsetof(stab_notify_record, reserved3), 4}};
constexpr Extent kTexts[] = {{offsetof(stab_notify_record, process_name), 40},
                             {offsetof(stab_notify_record, detail), 60}};

/** The first byte of a range that is not zero, or npos. */
size_t findNonZero(std::string_view bytes, size_t offset, size_t size) {
    const size_t found = bytes.find_first_not_of('\0', offset);
    return found < offset + size ? found : std::string_view::npos;
}

/** The two words of a record that has nothing else. */
bool isBlockLogo(const stab_notify_record& record) {
    return record.event_type == 0 && record.kind == 0;
}

stab_notify_record recordOf(std::string_view bytes) {
    stab_notify_record record = {};
    memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof(record)));
    return record;
}

void showBlockLogo(const stab_notify_record& record, RecordWriter& writer) {
    int32_t words[2];
    memcpy(words, &record, sizeof(words));
    writer.number("word0", words[0]);
    writer.number("word1", words[1]);
}

void showNotification(std::string_view bytes, const stab_notify_record& record,
                      RecordWriter& writer) {
    const auto has = [&](size_t offset, size_t size) { return bytes.size() >= offset + size; };
    const auto text = [](const auto& field) {
        return std::string_view(field, strnlen(field, sizeof(field)));
    };
    writer.text("process_name", text(record.process_name));
    if (has(offsetof(stab_notify_record, event_type), kWordBytes))
        writer.number("event_type", record.event_type);
    if (has(offsetof(stab_notify_record, flags), sizeof(record.flags)))
        writer.bits("flags", record.flags);
    if (has(offsetof(stab_notify_record, pid), kWordBytes)) writer.number("pid", record.pid);
    if (has(offsetof(stab_notify_record, detail), 1)) writer.text("detail", text(record.detail));
    if (has(offsetof(stab_notify_record, kind), kWordBytes)) writer.number("kind", record.kind);
}

}  // namespace

std::optional<Damage> findDriverDamage(std::string_view bytes) {
    if (bytes.size() < sizeof(stab_notify_record))
        return Damage{bytes.size(), "the record ends after " + std::to_string(bytes.size()) +
                                        " of its 136 bytes"};
    const stab_notify_record record = recordOf(bytes);
    if (isBlockLogo(record)) {
        const size_t found = findNonZero(bytes, 2 * kWordBytes, bytes.size() - 2 * kWordBytes);
        if (found == std::string_view::npos) return {};
        return Damage{found, "event_type and kind are 0, and this byte is not"};
    }
    for (const Extent& text : kTexts) {
        if (bytes.substr(text.offset, text.size).find('\0') == std::string_view::npos)
            return Damage{text.offset, "this text does not end within its field"};
    }
    for (const Extent& reserved : kReserved) {
        const size_t found = findNonZero(bytes, reserved.offset, reserved.size);
        if (found != std::string_view::npos) return Damage{found, "this reserved byte is not 0"};
    }
    if (record.kind != 1) return Damage{offsetof(stab_notify_record, kind), "kind is not 1"};
    return {};
}

void showDriverRecord(std::string_view bytes, RecordWriter& writer) {
    const stab_notify_record record = recordOf(bytes);
    if (isBlockLogo(record) && !findDriverDamage(bytes)) return showBlockLogo(record, writer);
    showNotification(bytes, record, writer);
}
