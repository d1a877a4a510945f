#pragma once

#include <string>
#include <string_view>

// Where the values of properties are kept: in the device root, one file in /dev/__properties__ for
// each property, or in the process's own memory where there is no device root.
//
// Threads and processes may read and write at once: a reader sees a whole value, the older or the
// newer one, and no value is lost.

/** The value, or the empty string when the property does not exist or cannot exist. */
std::string readProperty(const std::string& name);

/**
 * Stores a value of any length; with once, only if the property does not exist yet. False when it
 * did not, and for a name that is no legal one.
 */
bool writeProperty(const std::string& name, std::string_view value, bool once);
