#include "see/JsonWriter.h"

#include <json/writer.h>
#include <stdio.h>

#include "Text.h"

namespace {

/** The name of the member that tells a time as a date. */
std::string dateName(const std::string& name) {
    constexpr std::string_view kUnit = "_ms";
    return name.ends_with(kUnit) ? name.substr(0, name.size() - kUnit.size()) : name + "_date";
}

Json::Value figureOf(const std::string* key, const char* type) {
    Json::Value figure(Json::objectValue);
    if (key != nullptr) setBytes(figure, "key", *key);
    if (*type != '\0') figure["type"] = type;
    return figure;
}

}  // namespace

void printJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    puts(Json::writeString(builder, value).c_str());
}

void setBytes(Json::Value& object, const std::string& name, std::string_view bytes) {
    if (isUtf8(bytes)) {
        object[name] = std::string(bytes);
        return;
    }
    std::string plain(bytes);
    for (char& c : plain)
        c = static_cast<unsigned char>(c) < 0x80 ? c : '?';
    object[name] = plain;
    object[name + "_hex"] = inHex(bytes);
}

void JsonWriter::begin(const std::string&, const Json::Value& members) {
    record_ = members;
    record_["fields"] = Json::objectValue;
}

void JsonWriter::end() {
    printJson(record_);
}

Json::Value& JsonWriter::fields() {
    return record_["fields"];
}

void JsonWriter::number(const char* name, const Json::Value& value) {
    fields()[name] = value;
}

void JsonWriter::text(const char* name, std::string_view value, const char*) {
    setBytes(fields(), name, value);
}

void JsonWriter::time(const char* name, int64_t timeMs) {
    fields()[name] = Json::Int64(timeMs);
    fields()[dateName(name)] = isoTime(timeMs);
}

void JsonWriter::time(const char* name, uint64_t timeMs) {
    fields()[name] = Json::UInt64(timeMs);
    fields()[dateName(name)] = isoTime(timeMs);
}

void JsonWriter::bits(const char* name, uint64_t mask) {
    fields()[name] = Json::UInt64(mask);
    Json::Value& bits = fields()[std::string(name) + "_bits"] = Json::arrayValue;
    for (int bit = 0; bit < 64; ++bit) {
        if ((mask >> bit & 1) != 0) bits.append(bit);
    }
}

void JsonWriter::attribute(const std::string& key, const std::string& value) {
    Json::Value attribute;
    setBytes(attribute, "key", key);
    setBytes(attribute, "value", value);
    fields()["data"].append(attribute);
}

void JsonWriter::figure(const std::string* key, const char* type, const Json::Value& value) {
    Json::Value figure = figureOf(key, type);
    if (*type != '\0') figure["value"] = value;
    fields()["figures"].append(figure);
}

void JsonWriter::figure(const std::string* key, const char* type, const std::string& value) {
    Json::Value figure = figureOf(key, type);
    if (type == std::string_view("bytes")) {
        figure["value_hex"] = inHex(value);
    } else {
        setBytes(figure, "value", value);
    }
    fields()["figures"].append(figure);
}

void JsonWriter::unknown(const UnknownField& field) {
    Json::Value unknown;
    unknown["field"] = field.path;
    unknown["type"] = std::string(field.type);
    if (field.hasBytes()) {
        unknown["value_hex"] = inHex(field.bytes);
    } else {
        unknown["value"] = Json::UInt64(field.number);
    }
    fields()["unknown"].append(unknown);
}

void JsonWriter::problem(std::optional<uint64_t> offset, const std::string& what) {
    Json::Value problem;
    if (offset) problem["offset"] = Json::UInt64(*offset);
    problem["message"] = what;
    record_["damage"].append(problem);
}

void JsonWriter::bytes(std::string_view bytes) {
    if (showsBytes_) record_["bytes_hex"] = inHex(bytes);
}
