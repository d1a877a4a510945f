#include "CloudConfigTest.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

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

namespace {

/** What the kernel calls a thread's state, or 0 when there is no such thread. */
char stateOf(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    // The state follows the name, which is in parentheses and may contain some.
    std::string line;
    std::getline(file, line);
    const size_t nameEnd = line.rfind(") ");
    return nameEnd == std::string::npos ? '\0' : line[nameEnd + 2];
}

}  // namespace

bool eventually(const std::function<bool()>& isTrue) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

void awaitSleep(pid_t thread) {
    EXPECT_TRUE(eventually([=] { return stateOf(thread) == 'S' || stateOf(thread) == '\0'; }));
}

void awaitEnd(pid_t thread) {
    EXPECT_TRUE(eventually([=] { return stateOf(thread) == '\0'; }));
}
