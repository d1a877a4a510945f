#include "Text.h"

#include <ctype.h>
#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr size_t kBytesPerLine = 16;
constexpr size_t kValueColumns = kColumns - kLabelColumns;

bool isPlain(char c) {
    return isprint(static_cast<unsigned char>(c)) != 0;
}

std::string escapedByte(char c) {
    if (c == '"' || c == '\\') return {'\\', c};
    if (isPlain(c)) return {c};
    char text[8];
    snprintf(text, sizeof(text), "\\x%02x", static_cast<unsigned char>(c));
    return text;
}

/** Of years that have more than four digits, ISO 8601 wants the sign too. */
std::string isoTimeOf(int64_t seconds, int milliseconds) {
    tm parts = {};
    gmtime_r(&seconds, &parts);
    const int64_t year = int64_t{parts.tm_year} + 1900;
    char text[64];
    snprintf(text, sizeof(text), year < 0 || year > 9999 ? "%+05lld" : "%04lld",
             static_cast<long long>(year));
    std::string result = text;
    const size_t length = strftime(text, sizeof(text), "-%m-%dT%H:%M:%S", &parts);
    snprintf(text + length, sizeof(text) - length, ".%03dZ", milliseconds);
    return result + text;
}

void printHexLine(size_t offset, std::string_view line) {
    printf("    %04zx ", offset);
    for (size_t i = 0; i < kBytesPerLine; ++i) {
        i < line.size() ? printf(" %02x", static_cast<unsigned char>(line[i])) : printf("   ");
    }
    printf("  |");
    for (char c : line)
        putchar(isPlain(c) ? c : '.');
    printf("|\n");
}

void printLine(std::string_view label, std::string_view value) {
    printf("  %-*.*s%.*s\n", static_cast<int>(kLabelColumns) - 2, static_cast<int>(label.size()),
           label.data(), static_cast<int>(value.size()), value.data());
}

/** How many bytes follow the first one of a character; -1 for one that cannot be the first. */
int continuationBytes(unsigned char first) {
    if (first < 0x80) return 0;
    if (first >= 0xc2 && first < 0xe0) return 1;
    if (first >= 0xe0 && first < 0xf0) return 2;
    if (first >= 0xf0 && first < 0xf5) return 3;
    return -1;
}

/** Whether the character is written longer than it needs, is a surrogate or beyond the last one. */
bool isForbidden(unsigned char first, unsigned char second) {
    return (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
           (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
}

}  // namespace

std::string inQuotes(std::string_view text) {
    std::string result = "\"";
    for (char c : text)
        result += escapedByte(c);
    return result + '"';
}

std::string printable(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = iscntrl(static_cast<unsigned char>(c)) != 0 ? '?' : c;
    return result;
}

std::string counted(size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string inHex(std::string_view bytes) {
    std::string result;
    for (char c : bytes) {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(c));
        result += digits;
    }
    return result;
}

bool fromHex(std::string_view text, std::string* bytes) {
    bytes->clear();
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        unsigned char byte = 0;
        const char* const end = text.data() + i + 2;
        if (std::from_chars(text.data() + i, end, byte, 16).ptr != end) return false;
        bytes->push_back(static_cast<char>(byte));
    }
    return text.size() % 2 == 0;
}

std::string isoTime(int64_t timeMs) {
    const int64_t rest = timeMs % 1000;
    const bool isBefore = rest < 0;  // Of the second that the division gives.
    return isoTimeOf(timeMs / 1000 - (isBefore ? 1 : 0),
                     static_cast<int>(rest + (isBefore ? 1000 : 0)));
}

std::string isoTime(uint64_t timeMs) {
    return isoTimeOf(static_cast<int64_t>(timeMs / 1000), static_cast<int>(timeMs % 1000));
}

bool isUtf8(std::string_view bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const int more = continuationBytes(first);
        if (more < 0 || bytes.size() - i <= static_cast<size_t>(more)) return false;
        if (more > 0 && isForbidden(first, static_cast<unsigned char>(bytes[i + 1]))) return false;
        for (int j = 0; j < more; ++j) {
            if ((static_cast<unsigned char>(bytes[++i]) & 0xc0) != 0x80) return false;
        }
    }
    return true;
}

void printRow(std::string_view label, std::string_view value) {
    while (value.size() > kValueColumns) {
        const size_t blank = value.rfind(' ', kValueColumns);
        if (blank == std::string_view::npos || blank == 0) break;
        printLine(label, value.substr(0, blank));
        value.remove_prefix(blank + 1);
        label = "";
    }
    printLine(label, value);
}

void printText(std::string_view label, std::string_view introduction, std::string_view text) {
    std::string line(introduction);
    const std::string indentation(std::min(line.size(), kValueColumns / 2), ' ');
    line += '"';
    for (char c : text) {
        const std::string byte = escapedByte(c);
        if (line.size() + byte.size() >= kValueColumns) {
            printLine(label, line + '"');
            label = "";
            line = indentation + '"';
        }
        line += byte;
    }
    printLine(label, line + '"');
}

void printPair(std::string_view label, std::string_view first, std::string_view separator,
               std::string_view second, std::string_view remark) {
    std::string line = inQuotes(first);
    line.append(separator).append(inQuotes(second)).append(remark);
    if (line.size() <= kValueColumns) return printRow(label, line);
    printText(label, "", first);
    printText("", separator.substr(1), second);
    if (!remark.empty()) printRow("", remark.substr(1));
}

void printHex(std::string_view bytes) {
    for (size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
        printHexLine(offset, bytes.substr(offset, kBytesPerLine));
    }
}
