#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

// Records as text for people. Each line of what belongs to a record is indented.

/** In quotes, with the bytes that a terminal cannot show in hex. */
std::string inQuotes(std::string_view text);

/** Milliseconds since the Unix epoch as an ISO 8601 date and time, in UTC. */
std::string utcTime(int64_t timeMs);

/** Sixteen bytes a line, in hex and as text. */
void printHex(std::string_view bytes);

/** The fields of a serialised StabEvent, or that it is damaged. */
void printStabEvent(const std::string& record);

/** The timeouts of a serialised ArtLockTimeoutData, or that it is damaged. */
void printLockTimeouts(const std::string& record);

/** The fields of a serialised MemMonitorEvent, key and value by turns, or that it is damaged. */
void printMemSample(const std::string& record);
