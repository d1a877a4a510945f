#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "see/Kinds.h"

/** How records are shown. */
struct SeeOptions {
    bool isJson = false;
    bool showsBytes = false;
    bool follows = false;
    uint64_t first = 0;  // Of the records that the device holds, counted from 0.
};

// Each command returns the program's exit code.

/** Shows what is in files, or in standard input when there are none. */
int decodeFiles(const std::vector<std::string>& paths, std::optional<Kind> kind,
                const SeeOptions& options);

/** Shows what is in the event buffer. */
int showEvents(const SeeOptions& options);

/** Shows the stability event files. */
int showEventFiles(const SeeOptions& options);

/** Shows what the stability driver got. */
int showDriver(const SeeOptions& options);
