#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Input.h"
#include "see/FileName.h"
#include "see/Kinds.h"
#include "see/RecordWriter.h"

/** Where a record stands among those that are decoded together. */
struct Place {
    uint64_t index;
    uint64_t offset;  // Of its first byte in the input.
    size_t size;
};

/** Begins a record of the writer's, with a heading that tells where it stands. */
using BeginRecord = std::function<void(const Place&)>;

/** Decodes inputs, record after record, with one of them in memory at a time. */
class Decoder {
  public:
    /** Both outlive the decoder; source names the input in messages. */
    Decoder(RecordWriter& writer, std::string source)
        : writer_(writer), source_(std::move(source)) {}

    /** The name of the stability event in the input, which is checked, also against the event. */
    void expectName(std::string_view name) {
        isNamed_ = true;
        name_ = parseEventFileName(name);
    }

    /** Shows every record of the input. False when one of them is damaged. */
    bool decode(Kind kind, Input& input, const BeginRecord& begin);

  private:
    void decodeOne(Kind kind, Input& input, const BeginRecord& begin);
    void decodeList(Kind kind, Input& input, const BeginRecord& begin);
    void decodeDriver(Input& input, const BeginRecord& begin);

    void decodeElement(Kind kind, const FieldHead& field, Input& input, const BeginRecord& begin);
    void showOther(const std::string& field, Place place, const BeginRecord& begin);
    void showMessage(Kind kind, const std::string& bytes, uint64_t offset);
    void checkName(const std::string& bytes);
    void report(const Damage& damage);
    void finishRecord(std::string_view bytes);

    RecordWriter& writer_;
    std::string source_;
    bool isNamed_ = false;
    std::optional<EventFileName> name_;
    uint64_t index_ = 0;
    bool isSound_ = true;
};
