#pragma once

#include <stddef.h>

#include <string>

// The device's configuration file, as one delivers it who wants nobody to be ended by it: whatever
// happens, also to this program, the file is as it was or as it should be, and who watches it sees
// one modification.

constexpr char kConfigPath[] = "/data/syslog/settings/stab_cloud_config.json";

/** How a delivery went. */
struct Delivery {
    std::string error;        // Why nothing was delivered; empty when it was.
    bool wasMissing = false;  // There was no file.
    size_t paddingBytes = 0;  // White space behind the text, where the file was longer.
};

/**
 * Replaces the file's text, in place and by one write, and keeps the old content beside it. A file
 * that does not exist comes into being as a whole, and is then written once more: that is noticed.
 */
Delivery deliverConfig(const std::string& text);

/** Reads what the file held before the latest delivery. False, with an error, when that is unknown. */
bool readPreviousConfig(std::string* text, std::string* error);
