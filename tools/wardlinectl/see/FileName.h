#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

#include "see/RecordWriter.h"

/** What the name of a stability event file tells. */
struct EventFileName {
    std::string
        otaVersion;  // With the train start time after a "_" where both cannot be told apart.
    std::optional<std::string> trainStartTime;
    std::string datetime;  // YYYYMMDDhhmm in the local time of the device.
    uint64_t timestampMs = 0;
};

/**
 * The name of a stability event file, without the folder, out of a path: values with a "/" in them
 * make folders, so it may be several of the path's components.
 */
std::optional<std::string_view> findEventFileName(std::string_view path);

/** Takes a name apart; nothing where it has not all of its parts. */
std::optional<EventFileName> parseEventFileName(std::string_view name);

/** How many minutes the device was ahead of UTC, going by the name. */
int64_t utcOffsetMinutes(const EventFileName& name);

/** Shows the parts of a name. */
void showEventFileName(const EventFileName& name, RecordWriter& writer);

/** What is wrong with a name, itself or beside the time in the file's content; else nothing. */
std::optional<std::string> findNameProblem(const EventFileName& name,
                                           std::optional<uint64_t> contentTimeMs);
