#pragma once

#include <optional>
#include <string>

/**
 * The path of the known key that is nearest to a key of the object that has the path parent; nothing
 * where the key is known, or where nobody looks at the object's keys.
 */
std::optional<std::string> findNearestKey(const std::string& parent, const std::string& key);
