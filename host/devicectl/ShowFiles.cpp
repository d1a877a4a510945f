#include "ShowFiles.h"

#include <android-base/file.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "PrintRecord.h"

namespace fs = std::filesystem;

namespace {

constexpr char kDirectory[] = "/data/syslog/monitor/stabevent";
constexpr std::string_view kPrefix = ".train_stabevent_1.00_";
constexpr size_t kDatetimeDigits = 12;  // More after the year 9999.

/** Takes the last "_" and the digits after it off text; returns the digits, or nothing. */
std::string_view takeNumber(std::string_view* text) {
    const size_t separator = text->rfind('_');
    if (separator == std::string_view::npos) return {};
    const std::string_view number = text->substr(separator + 1);
    if (number.find_first_not_of("0123456789") != std::string_view::npos) return {};
    text->remove_suffix(number.size() + 1);
    return number;
}

/** Prints the parts of a file's name; a version and a start time with "_" in them stay joined. */
void printName(std::string_view name) {
    const bool isEvent = name.starts_with(kPrefix);
    if (isEvent) name.remove_prefix(kPrefix.size());
    const std::string timestamp(takeNumber(&name));
    const std::string datetime(takeNumber(&name));
    if (!isEvent || timestamp.empty() || datetime.size() < kDatetimeDigits) {
        printf("  not the name of a stability event file\n");
        return;
    }
    if (std::ranges::count(name, '_') == 1) {
        const size_t separator = name.find('_');
        printf("  OTA version   %s\n", inQuotes(name.substr(0, separator)).c_str());
        printf("  train start   %s\n", inQuotes(name.substr(separator + 1)).c_str());
    } else {
        printf("  OTA and train %s\n", inQuotes(name).c_str());
    }
    printf("  date, time    %s, local time\n", datetime.c_str());
    printf("  timestamp     %s\n", timestamp.c_str());
}

void printFile(const fs::path& path) {
    std::string content;
    const int error = android::base::ReadFileToString(path, &content) ? 0 : errno;
    const auto mode = static_cast<unsigned>(fs::status(path).permissions());
    const std::string name = path.lexically_relative(kDirectory);
    printf("file %s: %zu bytes, mode %o\n", inQuotes(name).c_str(), content.size(), mode);
    printName(name);
    if (error != 0) {
        printf("  cannot be read: %s\n", strerror(error));
        return;
    }
    printStabEvent(content);
    printHex(content);
}

}  // namespace

void showFiles() {
    std::set<fs::path> paths;
    std::error_code absent;
    for (const auto& entry : fs::recursive_directory_iterator(kDirectory, absent)) {
        if (entry.is_regular_file()) paths.insert(entry.path());
    }
    std::ranges::for_each(paths, printFile);
}
