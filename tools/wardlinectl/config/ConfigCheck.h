#pragma once

#include <json/value.h>
#include <wardline/CloudConfig.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/JsonText.h"

/** Something that is wrong with a configuration file, or odd about it. */
struct ConfigProblem {
    std::string path;  // Of the key; empty where it is not about one.
    TextPlace place;   // Line 0 where it is not in one place.
    std::string what;
};

/** What would become of a process that reads a file. */
struct ConfigCheck {
    std::vector<ConfigProblem> errors;    // Each ends every process that watches.
    std::vector<ConfigProblem> warnings;  // What is hardly meant so, and harms nobody at once.
    Json::Value document;                 // Null when there are errors of syntax.

    bool survives() const { return errors.empty(); }
};

ConfigCheck checkConfig(std::string_view text);

/** Does to a configuration what the library does when it parses the document of a sound file. */
void applyConfig(const Json::Value& document, android::__StabCloudConfig& config);
