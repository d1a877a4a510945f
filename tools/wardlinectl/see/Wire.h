#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The wire format of the protobuf runtime, below its classes: which tell that bytes are no whole
// record, but not where it is damaged, and which drop what an entry of a map holds beside its key
// and its value.

/** Where a record is damaged. */
struct Damage {
    uint64_t offset;  // From the record's first byte.
    std::string what;
};

/** A field that no schema knows, or that has another wire type than its schema says. */
struct UnknownField {
    std::string path;       // Its number, after the numbers of the fields that it is in: "5.3".
    std::string_view type;  // "varint", "fixed64", "fixed32", "bytes" or "group".
    uint64_t number = 0;    // The value, unless it is in bytes.
    std::string bytes;

    bool hasBytes() const { return type == "bytes" || type == "group"; }
};

/** Which of a message's fields holds messages; none of them has more than one. */
struct MessageShape {
    uint32_t innerField = 0;
    const MessageShape* inner = nullptr;
    bool isMapEntry = false;
};

/** What can be read of a record. */
struct Salvage {
    std::string record;  // Whole fields only: the runtime can parse it.
    std::vector<Damage> damages;
    std::vector<UnknownField> dropped;  // What entries of maps hold beside their keys and values.
};

/** Takes what can be read out of the bytes of a record; offset is that of the first one. */
Salvage salvage(std::string_view bytes, const MessageShape& shape, uint64_t offset);

/** Takes apart the unknown fields that the runtime kept of a message; prefix begins their paths. */
std::vector<UnknownField> unknownFields(const std::string& bytes, const std::string& prefix);

/** The beginning of a field: after head bytes, size bytes of it follow. A group is all head. */
struct FieldHead {
    uint32_t tag;
    size_t head;
    size_t size;
};

/** How a field begins, if that can be told from these first bytes of it; but for groups, 15 do. */
std::optional<FieldHead> readFieldHead(std::string_view bytes);
