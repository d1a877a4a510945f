#include "CloudConfigTest.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

CloudConfigTest::CloudConfigTest() {
    static bool isFirst = true;
    if (!isFirst) {
        ADD_FAILURE() << "this test needs a process of its own: run it by ctest";
        exit(EXIT_FAILURE);
    }
    isFirst = false;
    fs::remove_all(kDirectory);
    fs::create_directories(kDirectory);
}

void CloudConfigTest::withoutWatcher() {
    std::call_once(android::flag, [] {});
}

void CloudConfigTest::deliver(const std::string& text) {
    std::error_code absent;
    const auto oldSize = fs::file_size(kFile, absent);
    const size_t size = absent ? text.size() : std::max<size_t>(text.size(), oldSize);
    std::string content = text;
    content.resize(size, ' ');

    const int file = open(kFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_LE(0, file) << strerror(errno);
    EXPECT_EQ(static_cast<ssize_t>(size), pwrite(file, content.data(), size, 0));
    close(file);
}

LogLine CloudConfigTest::cannotOpen(int error) {
    return {6, "libwardline",
            std::string("Failed to open file: ") + kFile + ", " + strerror(error)};
}

std::string describe(const android::__StabCloudConfig& config) {
    std::ostringstream text;
    text << std::boolalpha << "version " << config.version << "; dma "
         << config.dmaMemInfoConfig.enable << ' ' << config.dmaMemInfoConfig.threshHold << ' '
         << config.dmaMemInfoConfig.interval << "; processes " << config.processesConfig.enable
         << ' ' << config.processesConfig.interval;
    for (const auto& process : config.processesConfig.processes)
        text << " (" << process.name << '|' << process.description << '|' << process.id << ')';
    text << "; options";
    for (const auto& [name, value] : config.threadtrackConfig.options)
        text << " (" << name << '=' << value << ')';
    return text.str();
}
