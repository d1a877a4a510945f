#include "PropertyArea.h"

#include <android-base/unique_fd.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>

using android::base::unique_fd;

namespace {

constexpr char kArea[] = "/dev/__properties__/";

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(".-_@:").find(c) != std::string_view::npos;
}

/** Letters, digits and ".-_@:"; not empty, no dot at either end and no two in a row. */
bool isLegalName(std::string_view name) {
    if (name.empty() || name.front() == '.' || name.back() == '.') return false;
    if (name.find("..") != std::string_view::npos) return false;
    return std::ranges::all_of(name, isNameCharacter);
}

bool hasDeviceRoot() {
    static const bool has = access(kArea, F_OK) == 0;
    return has;
}

struct ProcessArea {
    std::mutex mutex;
    std::map<std::string, std::string> values;
};

ProcessArea& processArea() {
    static ProcessArea area;
    return area;
}

/** Writes a file beside the values; its name begins with a dot, as no property's does. */
std::string writeTemporary(std::string_view value) {
    // mkstemp() puts letters of its own in the place of these.
    std::string path = std::string(kArea) + ".set." + std::string(6, 'X');
    const unique_fd file(mkstemp(path.data()));
    if (!file.ok()) return "";
    const bool written =
        write(file.get(), value.data(), value.size()) == static_cast<ssize_t>(value.size());
    if (written && fchmod(file.get(), 0644) == 0) return path;
    unlink(path.c_str());
    return "";
}

bool writeFile(const std::string& name, std::string_view value, bool once) {
    const std::string temporary = writeTemporary(value);
    if (temporary.empty()) return false;
    const std::string path = std::string(kArea) + name;
    // rename() replaces a value at once, link() refuses to replace one.
    const bool stored = once ? link(temporary.c_str(), path.c_str()) == 0
                             : rename(temporary.c_str(), path.c_str()) == 0;
    if (once || !stored) unlink(temporary.c_str());
    return stored;
}

}  // namespace

std::string readProperty(const std::string& name) {
    if (!isLegalName(name)) return "";
    if (hasDeviceRoot()) {
        std::ifstream file(std::string(kArea) + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    const std::lock_guard lock(processArea().mutex);
    const auto found = processArea().values.find(name);
    return found == processArea().values.end() ? "" : found->second;
}

bool writeProperty(const std::string& name, std::string_view value, bool once) {
    if (!isLegalName(name)) return false;
    if (hasDeviceRoot()) return writeFile(name, value, once);
    const std::lock_guard lock(processArea().mutex);
    if (once) return processArea().values.try_emplace(name, value).second;
    processArea().values[name] = value;
    return true;
}
