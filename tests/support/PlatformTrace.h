#pragma once

#include <sys/types.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// What the library asked of the platform, in order. A test program that links this stands between
// the library and liblog, libbase, the property service and the event buffer: each call is noted
// and, but for log lines, passed on. Safe under any number of threads.

struct LogLine {
    int priority;
    std::string tag;
    std::string text;  // The whole of it: liblog would cut it.

    bool operator==(const LogLine&) const = default;
};

void PrintTo(const LogLine& line, std::ostream* out);

/** Forgets everything noted so far, and the observers. */
void resetTrace();

std::vector<LogLine> logLines();

/**
 * The calls in order, one text each:
 *
 *     log 4 <text>
 *     property_get <name> default <value>
 *     property_get_int32 <name> default <value>
 *     property_set <name> <value>
 *     GetProperty <name> default <value>
 *     ReadFileToString <path> [following links]
 *     writes <event id>, single_file_writes <event id>
 */
std::vector<std::string> calls();

/** Waits until a call has been noted that often; false when it has not within a deadline. */
bool awaitCall(const std::string& call, int count = 1);

/** The thread that made this call last, or 0 when none has. */
pid_t callerOf(const std::string& call);

/** Adds a call that the library made elsewhere; observers hear of it too. */
void noteCall(const std::string& call);

/** True for code of the library, by an address in it; tells its calls from those of others. */
bool isOfLibrary(const void* code);

/** Calls observer on the caller's thread as each call arrives, before it is passed on. */
void observeCalls(std::function<void(const std::string& call)> observer);

/** The same as each call that was passed on has returned, before its caller goes on. */
void observeReturns(std::function<void(const std::string& call)> observer);

/** Lets every further ReadFileToString leave this content and return this result. */
void answerFileReads(const std::string& content, bool result);

/** What the buffer for the value held when property_get was called last, all its 92 bytes. */
std::string propertyBuffer();

/** The buffer that the latest event buffer call passed; only to be compared, never to be read. */
const void* lastPayloadPointer();
