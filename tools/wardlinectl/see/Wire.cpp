#include "see/Wire.h"

#include <google/protobuf/io/coded_stream.h>

#include <algorithm>

#include "Text.h"

namespace {

using google::protobuf::io::CodedInputStream;
using google::protobuf::io::CodedOutputStream;

enum WireType : uint32_t {
    kVarint = 0,
    kFixed64 = 1,
    kLengthDelimited = 2,
    kStartGroup = 3,
    kEndGroup = 4,
    kFixed32 = 5,
};
constexpr uint32_t kWireTypeBits = 3;
constexpr int kDeepestGroup = 90;  // The runtime refuses deeper ones.
constexpr size_t kLongestVarint32 = 5;
constexpr size_t kShownOfACutText = 40;

void appendVarint(uint64_t value, std::string* bytes) {
    uint8_t encoded[10];
    const uint8_t* const end = CodedOutputStream::WriteVarint64ToArray(value, encoded);
    bytes->append(reinterpret_cast<const char*>(encoded), static_cast<size_t>(end - encoded));
}

/** Walks over the fields of one message. */
class Walk {
  public:
    Walk(std::string_view bytes, uint64_t offset)
        : bytes_(bytes),
          offset_(offset),
          stream_(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<int>(bytes.size())) {}

    bool atEnd() const { return position() == bytes_.size(); }

    /** Reads the next tag. */
    bool next() {
        start_ = position();
        tag_ = 0;
        uint64_t tag = 0;
        if (!stream_.ReadVarint64(&tag)) return fail("the tag of a field breaks off");
        if (tag > UINT32_MAX || tag >> kWireTypeBits == 0 || position() - start_ > kLongestVarint32)
            return fail("this is no tag of a field");
        tag_ = static_cast<uint32_t>(tag);
        return true;
    }

    uint32_t tag() const { return tag_; }
    uint32_t field() const { return tag_ >> kWireTypeBits; }
    uint32_t wireType() const { return tag_ & ((1U << kWireTypeBits) - 1); }
    std::string_view raw() const { return bytes_.substr(start_, position() - start_); }
    uint64_t number() const { return number_; }
    std::string_view content() const { return content_; }
    /** Of a cut one, as much as it should be; 0 when that cannot be told. */
    size_t contentSize() const { return contentSize_; }
    uint64_t contentOffset() const { return offset_ + position() - content_.size(); }

    /** Reads the value; of a length-delimited one that is cut, content() is what there is of it. */
    bool readValue() {
        switch (wireType()) {
            case kVarint:
                return stream_.ReadVarint64(&number_) || fail("breaks off, or is no number");
            case kFixed64:
                return stream_.ReadLittleEndian64(&number_) ||
                       fail("wants 8 bytes, and breaks off");
            case kFixed32:
                return readFixed32();
            case kLengthDelimited:
                return readContent();
            case kStartGroup:
                return readGroup();
            default:
                return fail(wireType() == kEndGroup ? "ends a group that did not begin"
                                                    : "has a wire type that does not exist");
        }
    }

    std::optional<Damage> damage;

  private:
    size_t position() const { return static_cast<size_t>(stream_.CurrentPosition()); }

    bool fail(const std::string& what) {
        const std::string subject = tag_ == 0 ? "" : "field " + std::to_string(field()) + ' ';
        damage = {offset_ + start_, subject + what};
        return false;
    }

    bool readFixed32() {
        uint32_t value = 0;
        if (!stream_.ReadLittleEndian32(&value)) return fail("wants 4 bytes, and breaks off");
        number_ = value;
        return true;
    }

    bool readContent() {
        content_ = {};
        contentSize_ = 0;
        uint64_t size = 0;
        const size_t sizeStart = position();
        if (!stream_.ReadVarint64(&size)) return fail("breaks off within its length");
        if (size > INT32_MAX || position() - sizeStart > kLongestVarint32)
            return fail("has a length that no record can have");
        contentSize_ = size;
        const size_t left = bytes_.size() - position();
        content_ = bytes_.substr(position(), size);
        stream_.Skip(static_cast<int>(content_.size()));
        return size <= left || fail("wants " + std::to_string(size) + " bytes, of which " +
                                    std::to_string(left) + " are there");
    }

    bool readGroup() {
        const size_t start = start_;
        const uint32_t tag = tag_;
        const size_t inner = position();
        size_t end = inner;
        const bool isWhole = skipGroup(kDeepestGroup, &end);
        start_ = start;
        tag_ = tag;
        content_ = bytes_.substr(inner, end - inner);  // Up to the tag that ends it.
        if (!isWhole && !damage) fail("is a group that breaks off, or is too deep");
        return isWhole;
    }

    bool skipGroup(int depth, size_t* end) {
        const uint32_t group = field();
        while (depth > 0 && !atEnd() && next()) {
            *end = start_;
            if (wireType() == kEndGroup) return field() == group;
            if (wireType() == kStartGroup ? !skipGroup(depth - 1, end) : !readValue()) return false;
        }
        return false;
    }

    std::string_view bytes_;
    uint64_t offset_;
    CodedInputStream stream_;
    size_t start_ = 0;
    uint32_t tag_ = 0;
    uint64_t number_ = 0;
    std::string_view content_;
    size_t contentSize_ = 0;
};

std::string_view typeName(uint32_t wireType) {
    switch (wireType) {
        case kVarint:
            return "varint";
        case kFixed64:
            return "fixed64";
        case kFixed32:
            return "fixed32";
        case kLengthDelimited:
            return "bytes";
        default:
            return "group";
    }
}

UnknownField unknownField(const Walk& walk, const std::string& prefix) {
    UnknownField unknown = {prefix + std::to_string(walk.field()), typeName(walk.wireType()), 0,
                            ""};
    if (unknown.hasBytes()) {
        unknown.bytes = walk.content();
    } else {
        unknown.number = walk.number();
    }
    return unknown;
}

/** A map's entry has a key and a value, both texts here. */
bool isOfEntry(const Walk& walk) {
    return walk.field() <= 2 && walk.wireType() == kLengthDelimited;
}

class Salvager {
  public:
    explicit Salvager(Salvage* result) : result_(result) {}

    /** Returns the whole fields of a message. */
    std::string take(std::string_view bytes, const MessageShape& shape, uint64_t offset,
                     const std::string& path) {
        std::string whole;
        Walk walk(bytes, offset);
        while (!walk.atEnd()) {
            if (!walk.next()) break;
            const bool isWhole = walk.readValue();
            const bool isMessage = shape.inner != nullptr && walk.field() == shape.innerField &&
                                   walk.wireType() == kLengthDelimited;
            if (isMessage) {
                takeMessage(walk, *shape.inner, path, &whole);
            } else if (isWhole) {
                whole += walk.raw();
                if (shape.isMapEntry && !isOfEntry(walk))
                    result_->dropped.push_back(unknownField(walk, path));
            }
            if (!isWhole) {
                if (!isMessage) showCutText(walk);
                break;
            }
        }
        if (walk.damage) result_->damages.push_back(*walk.damage);
        return whole;
    }

  private:
    void takeMessage(const Walk& walk, const MessageShape& shape, const std::string& path,
                     std::string* whole) {
        const std::string inner = take(walk.content(), shape, walk.contentOffset(),
                                       path + std::to_string(walk.field()) + '.');
        appendVarint((uint64_t{walk.field()} << kWireTypeBits) | kLengthDelimited, whole);
        appendVarint(inner.size(), whole);
        *whole += inner;
    }

    static void showCutText(Walk& walk) {
        if (walk.wireType() != kLengthDelimited || walk.content().empty()) return;
        const std::string_view start = walk.content().substr(0, kShownOfACutText);
        walk.damage->what += ": " + inQuotes(start);
        if (start.size() < walk.content().size()) walk.damage->what += "...";
    }

    Salvage* result_;
};

}  // namespace

Salvage salvage(std::string_view bytes, const MessageShape& shape, uint64_t offset) {
    Salvage result;
    result.record = Salvager(&result).take(bytes, shape, offset, "");
    return result;
}

std::vector<UnknownField> unknownFields(const std::string& bytes, const std::string& prefix) {
    std::vector<UnknownField> fields;
    Walk walk(bytes, 0);
    while (!walk.atEnd() && walk.next() && walk.readValue())
        fields.push_back(unknownField(walk, prefix));
    return fields;
}

std::optional<FieldHead> readFieldHead(std::string_view bytes) {
    Walk walk(bytes, 0);
    if (!walk.next()) return {};
    const bool isWhole = walk.readValue();
    const FieldHead head = {walk.tag(), walk.raw().size(), 0};
    switch (walk.wireType()) {
        case kLengthDelimited:
            if (walk.contentSize() == 0 && !isWhole) return {};
            return FieldHead{head.tag, head.head - walk.content().size(), walk.contentSize()};
        default:
            if (!isWhole) return {};
            return head;
    }
}
