#include "see/EventFiles.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <filesystem>

#include "Terminal.h"
#include "see/Decode.h"
#include "see/FileName.h"
#include "see/JsonWriter.h"

namespace fs = std::filesystem;

namespace {

constexpr char kDirectory[] = "/data/syslog/monitor/stabevent";
constexpr mode_t kPermissions = 07777;
constexpr mode_t kModeOfWrittenFile = 0777;  // What the library gives a file last.

std::string pathOf(const std::string& name) {
    return std::string(kDirectory) + '/' + name;
}

std::vector<EventFile> listFiles(std::error_code* problem) {
    std::vector<EventFile> files;
    std::error_code& error = *problem;
    fs::recursive_directory_iterator entry(kDirectory, error);
    for (; !error && entry != fs::end(entry); entry.increment(error)) {
        EventFile file = {entry->path().lexically_relative(kDirectory), {}};
        if (stat(entry->path().c_str(), &file.status) == 0 && S_ISREG(file.status.st_mode))
            files.push_back(file);
    }
    return files;
}

std::pair<uint64_t, std::string> ageOf(const EventFile& file) {
    const auto name = parseEventFileName(file.name);
    return {name ? name->timestampMs : UINT64_MAX, file.name};
}

BeginRecord heading(const EventFile& file, RecordWriter& writer) {
    return [&](const Place& place) {
        char mode[8];
        snprintf(mode, sizeof(mode), "%o", file.status.st_mode & kPermissions);
        Json::Value members;
        members["mode"] = mode;
        members["kind"] = nameOf(Kind::kStabEvent);
        members["size"] = Json::UInt64(place.size);
        writer.begin("file: " + std::to_string(place.size) + " bytes, mode " + mode, members);
        writer.text("file_name", file.name);
    };
}

}  // namespace

EventFiles::Version::Version(const struct stat& status)
    : inode(status.st_ino),
      size(status.st_size),
      changedNs(int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec) {}

bool EventFiles::isNew(const EventFile& file, bool onlyWhole) {
    const Version version(file.status);
    const auto taken = taken_.find(file.name);
    if (taken != taken_.end() && taken->second == version) return false;
    const auto waiting = waiting_.find(file.name);
    const bool isStill = waiting != waiting_.end() && waiting->second == version;
    const bool isWritten = (file.status.st_mode & kPermissions) == kModeOfWrittenFile;
    if (onlyWhole && !isFirst_ && !isStill && !isWritten) {
        waiting_.insert_or_assign(file.name, version);
        return false;
    }
    waiting_.erase(file.name);
    taken_.insert_or_assign(file.name, version);
    return true;
}

std::vector<EventFile> EventFiles::takeNew(bool onlyWhole) {
    std::error_code error;
    std::vector<EventFile> files = listFiles(&error);
    problem_ = error && error != std::errc::no_such_file_or_directory ? error.message() : "";
    std::erase_if(files, [&](const EventFile& file) { return !isNew(file, onlyWhole); });
    std::ranges::sort(files, {}, ageOf);
    isFirst_ = false;
    return files;
}

std::string EventFiles::problem() const {
    return problem_.empty() ? "" : std::string(kDirectory) + ": " + problem_;
}

bool showEventFile(const EventFile& file, RecordWriter& writer) {
    Input input(pathOf(file.name));
    if (!input.ok()) {
        complain(file.name + ": " + strerror(errno));
        return false;
    }
    Decoder decoder(writer, file.name);
    decoder.expectName(file.name);
    return decoder.decode(Kind::kStabEvent, input, heading(file, writer));
}
