#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

// Records as text for people, in 80 columns.

constexpr size_t kColumns = 80;
constexpr size_t kLabelColumns = 16;  // With the indentation before the label.

/** The text in quotes, with the bytes that a terminal cannot show in hex. */
std::string inQuotes(std::string_view text);

/** The text, with a "?" for each byte that would do something to a terminal; for names of files. */
std::string printable(std::string_view text);

/** A number and what is counted, with an "s" unless it is one. */
std::string counted(size_t count, const char* what);

/** Bytes as hexadecimal digits. */
std::string inHex(std::string_view bytes);

/** Bytes of hexadecimal digits, in pairs; false where the text is something else. */
bool fromHex(std::string_view text, std::string* bytes);

/** Milliseconds since the Unix epoch as an ISO 8601 date and time, in UTC. */
std::string isoTime(int64_t timeMs);
std::string isoTime(uint64_t timeMs);

/** Whether these bytes are valid UTF-8. */
bool isUtf8(std::string_view bytes);

/** One row: a label, and a value as it is. Lines that are too long are broken at blanks. */
void printRow(std::string_view label, std::string_view value);

/**
 * One row: a label, and a text in quotes after an introduction, in as many pieces as it takes, each
 * in quotes of its own.
 */
void printText(std::string_view label, std::string_view introduction, std::string_view text);

/** One row: two texts in quotes and a remark, or where that is too long as many rows as it takes. */
void printPair(std::string_view label, std::string_view first, std::string_view separator,
               std::string_view second, std::string_view remark);

/** Sixteen bytes a line, in hex and as text. */
void printHex(std::string_view bytes);
