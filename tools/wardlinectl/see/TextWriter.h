#pragma once

#include "see/RecordWriter.h"

/** Prints records for people, in rows of a label and a value. */
class TextWriter : public RecordWriter {
  public:
    explicit TextWriter(bool showsBytes) : showsBytes_(showsBytes) {}

    void begin(const std::string& heading, const Json::Value& members) override;
    void end() override {}
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
    bool showsBytes_;
};
