#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "see/Wire.h"

/** The kinds of records that can be decoded. */
enum class Kind { kStabEvent, kMemEvent, kMemBatch, kLockTimeout, kDriver };

/** The kind's name on the command line, such as "stab-event". */
const char* nameOf(Kind kind);
std::optional<Kind> kindNamed(std::string_view name);

// The ids under which the event buffer gets records.
constexpr int kStabEventId = 36;
constexpr int kLockTimeoutId = 39;
constexpr int kMemEventId = 89;

/** The kind of the records that the event buffer gets under an id. */
std::optional<Kind> kindOfEvent(int eventId);

/** What is a message in the message of a kind; of a batch, what is in a single one of its records. */
const MessageShape& shapeOf(Kind kind);

/** The kind of what is in a file, by its name and its first bytes; nothing where it cannot be told. */
std::optional<Kind> findKind(std::string_view fileName, std::string_view bytes);
