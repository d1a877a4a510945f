#include "see/TextWriter.h"

#include <inttypes.h>
#include <stdio.h>

#include <charconv>

#include "Terminal.h"
#include "Text.h"

namespace {

std::string keyText(const std::string* key) {
    return key == nullptr ? "(no key)" : inQuotes(*key);
}

std::string numberText(const Json::Value& value) {
    if (!value.isDouble() || value.isIntegral()) return value.asString();
    char text[64] = {};
    std::to_chars(text, text + sizeof(text) - 1, value.asDouble());
    return text;
}

}  // namespace

void TextWriter::begin(const std::string& heading, const Json::Value&) {
    printf("%s\n", painted(stdout, Colour::kHeading, heading).c_str());
}

void TextWriter::number(const char* name, const Json::Value& value) {
    printRow(name, value.asString());
}

void TextWriter::text(const char* name, std::string_view value, const char* remark) {
    const std::string line = inQuotes(value) + remark;
    if (kLabelColumns + line.size() <= kColumns) return printRow(name, line);
    printText(name, "", value);
    if (*remark != '\0') printRow("", remark + 1);
}

void TextWriter::time(const char* name, int64_t timeMs) {
    printRow(name, std::to_string(timeMs) + " (" + isoTime(timeMs) + ')');
}

void TextWriter::time(const char* name, uint64_t timeMs) {
    printRow(name, std::to_string(timeMs) + " (" + isoTime(timeMs) + ')');
}

void TextWriter::bits(const char* name, uint64_t mask) {
    char text[32];
    snprintf(text, sizeof(text), "0x%" PRIx64, mask);
    std::string line = text;
    if (mask != 0) line += ": bits";
    for (int bit = 0; bit < 64; ++bit) {
        if ((mask >> bit & 1) != 0) line += ' ' + std::to_string(bit);
    }
    printRow(name, line);
}

void TextWriter::attribute(const std::string& key, const std::string& value) {
    printPair("data", key, " = ", value, "");
}

void TextWriter::figure(const std::string* key, const char* type, const Json::Value& value) {
    const std::string shown = *type == '\0' ? "(no value)" : numberText(value) + " (" + type + ')';
    const std::string line = keyText(key) + " = " + shown;
    if (key == nullptr || kLabelColumns + line.size() <= kColumns) return printRow("figure", line);
    printText("figure", "", *key);
    printRow("", "= " + shown);
}

void TextWriter::figure(const std::string* key, const char* type, const std::string& value) {
    const std::string remark = std::string(" (") + type + ')';
    if (key != nullptr) return printPair("figure", *key, " = ", value, remark);
    printText("figure", "(no key) = ", value);
    printRow("", remark.substr(1));
}

void TextWriter::unknown(const UnknownField& field) {
    const std::string what = "field " + field.path + ", " + std::string(field.type) + ' ';
    if (!field.hasBytes()) return printRow("unknown", what + std::to_string(field.number));
    printText("unknown", what, field.bytes);
}

void TextWriter::problem(std::optional<uint64_t> offset, const std::string& what) {
    const std::string place = offset ? "at offset " + std::to_string(*offset) + ": " : "";
    // A label with a colour is longer than it looks: it brings its own blanks.
    printRow(painted(stdout, Colour::kError, "damaged") + "       ", place + what);
}

void TextWriter::bytes(std::string_view bytes) {
    if (showsBytes_) printHex(bytes);
}
