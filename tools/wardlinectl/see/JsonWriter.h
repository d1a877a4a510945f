#pragma once

#include <json/writer.h>

#include <memory>

#include "see/RecordWriter.h"

/** Prints one JSON object a line. */
void printJson(const Json::Value& value);

/** Bytes as a member of an object: NAME as text, and NAME_hex where they are no valid UTF-8. */
void setBytes(Json::Value& object, const std::string& name, std::string_view bytes);

/**
 * Prints each record as one JSON object on a line of its own, in which "fields" is the record's own
 * content. Numbers are numbers, but those that are
 * none ("NaN", "Infinity", "-Infinity"). Bytes that are no UTF-8 are in a member NAME_hex too.
 */
class JsonWriter : public RecordWriter {
  public:
    explicit JsonWriter(bool showsBytes) : showsBytes_(showsBytes) {}

    void begin(const std::string& heading, const Json::Value& members) override;
    void end() override;
    void number(const char* name, const Json::Value& value) override;
    void text(const char* name, std::string_view value, const char* remark) override;
    void time(const char* name, int64_t timeMs) override;
    void time(const char* name, uint64_t timeMs) override;
    void bits(const char* name, uint64_t mask) override;
    void attribute(const std::string& key, const std::string& value) override;
    void figure(const std::string* key, const char* type, const Json::Value& value) override;
    void figure(const std::string* key, const char* type, const std::string& value) override;
    void unknown(const UnknownField& field) override;
    void problem(std::optional<uint64_t> offset, const std::string& what) override;
    void bytes(std::string_view bytes) override;

  private:
    Json::Value& fields();

    Json::Value record_;
    bool showsBytes_;
};
