#pragma once

#include <stdint.h>

#include <string>
#include <vector>

// What is to be done with the configuration. Each command returns the program's exit code.

struct ConfigCheckOptions {
    std::vector<std::string> files;
    std::vector<std::string> after;  // What a subscriber has parsed before, in this order.
    bool isJson = false;
};
int checkConfigFiles(const ConfigCheckOptions& options);

int putConfig(const std::string& path, bool isForced);
int rollBackConfig(bool isForced);
int showConfig(bool isJson);

/** Ends after that many changes; 0 means never. */
int watchConfig(uint64_t changes, bool isJson);
