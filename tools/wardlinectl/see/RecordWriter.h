#pragma once

#include <json/value.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

#include "see/Wire.h"

/**
 * Where decoded records go: text for people, or JSON for programs. Names are those of the records'
 * own fields; a number is a Json::Value, which holds either signedness.
 */
class RecordWriter {
  public:
    virtual ~RecordWriter() = default;

    /** Begins a record: its heading as text, and what the heading tells as members of an object. */
    virtual void begin(const std::string& heading, const Json::Value& members) = 0;
    virtual void end() = 0;

    virtual void number(const char* name, const Json::Value& value) = 0;
    /** Any bytes; remark is for people alone. */
    virtual void text(const char* name, std::string_view value, const char* remark = "") = 0;
    /** Milliseconds since the Unix epoch. */
    virtual void time(const char* name, int64_t timeMs) = 0;
    virtual void time(const char* name, uint64_t timeMs) = 0;
    /** A mask, with the numbers of the bits that are set. */
    virtual void bits(const char* name, uint64_t mask) = 0;
    /** An attribute of an event. */
    virtual void attribute(const std::string& key, const std::string& value) = 0;
    /** A figure; it lacks its key or, when type is empty, its value. */
    virtual void figure(const std::string* key, const char* type, const Json::Value& value) = 0;
    /** One that is text, or bytes. */
    virtual void figure(const std::string* key, const char* type, const std::string& value) = 0;
    virtual void unknown(const UnknownField& field) = 0;
    /** What is wrong with the record; also where it is, if that is one place. */
    virtual void problem(std::optional<uint64_t> offset, const std::string& what) = 0;
    /** The bytes that the record was read from. */
    virtual void bytes(std::string_view bytes) = 0;
};
