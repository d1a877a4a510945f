#include "ShowFiles.h"

#include <android-base/file.h>
#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <string>

#include "PrintRecord.h"

namespace fs = std::filesystem;

namespace {

constexpr char kDirectory[] = "/data/syslog/monitor/stabevent";

/** Prints the parts of a file's name; a version and a start time with "_" in them stay joined. */
void printName(const std::string& name) {
    static const std::regex kPattern(R"(\.train_stabevent_1\.00_([^]*)_([0-9]{12,})_([0-9]+))");
    std::smatch parts;
    if (!std::regex_match(name, parts, kPattern)) {
        printf("  not the name of a stability event file\n");
        return;
    }
    const std::string values = parts[1];
    const size_t separator = values.find('_');
    if (std::ranges::count(values, '_') == 1) {
        printf("  OTA version   %s\n", inQuotes(values.substr(0, separator)).c_str());
        printf("  train start   %s\n", inQuotes(values.substr(separator + 1)).c_str());
    } else {
        printf("  OTA and train %s\n", inQuotes(values).c_str());
    }
    printf("  date, time    %s, local time\n", parts[2].str().c_str());
    printf("  timestamp     %s\n", parts[3].str().c_str());
}

void printFile(const fs::path& path) {
    std::string content;
    const bool isRead = android::base::ReadFileToString(path, &content);
    const auto mode = static_cast<unsigned>(fs::status(path).permissions());
    const std::string name = path.lexically_relative(kDirectory);
    printf("file %s: %zu bytes, mode %o\n", inQuotes(name).c_str(), content.size(), mode);
    printName(name);
    if (!isRead) return perror("  cannot be read");
    printStabEvent(content);
    printHex(content);
}

}  // namespace

void showFiles() {
    std::set<fs::path> paths;
    std::error_code absent;
    for (const auto& entry : fs::recursive_directory_iterator(kDirectory, absent)) {
        if (!entry.is_directory()) paths.insert(entry.path());
    }
    std::ranges::for_each(paths, printFile);
}
