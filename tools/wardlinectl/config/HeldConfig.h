#pragma once

#include <json/value.h>
#include <wardline/CloudConfig.h>

#include <string>
#include <vector>

// A configuration as a subscriber holds it.

void printConfig(const android::__StabCloudConfig& config);

/** The same as a JSON object, with the file's keys. */
Json::Value configAsJson(const android::__StabCloudConfig& config);

/** What has become different: lines that begin with "+", "-" or "~". */
std::vector<std::string> differences(const android::__StabCloudConfig& before,
                                     const android::__StabCloudConfig& after);
