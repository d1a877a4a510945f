#pragma once

#include <optional>
#include <string>

/**
 * The known key that is nearest to a key of the object that has the path parent: a key of the same
 * object, or the path of one of another. Nothing where the key is known, or where nobody looks at the object's keys.
 */
std::optional<std::string> findNearestKey(const std::string& parent, const std::string& key);
