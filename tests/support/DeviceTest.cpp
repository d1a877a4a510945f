#include "DeviceTest.h"

#include <cutils/properties.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

constexpr char kPropertyArea[] = "/dev/__properties__";
constexpr char kEventBuffer[] = "/dev/sysevents_buf";

}  // namespace

DeviceTest::DeviceTest() {
    if (!fs::exists(kEventBuffer) && !fs::exists(kPropertyArea)) {
        ADD_FAILURE() << "not in a device: run this by ctest or in scripts/device";
        exit(EXIT_FAILURE);
    }
    fs::create_directory(kPropertyArea);
    for (const auto& entry : fs::directory_iterator(kPropertyArea))
        fs::remove(entry);
    for (const char* node : {kTrimFlagNode, kCoredumpDisableNode, kDriverNode}) {
        fs::remove_all(node);
    }
    writeContent(kTrimFlagNode, "0\n");
    writeContent(kCoredumpDisableNode, "0\n");
    writeContent(kEventBuffer, "");
    mkfifo(kDriverNode, 0666);
    resetTrace();
}

DeviceTest::~DeviceTest() {
    resetTrace();
}

std::string DeviceTest::property(const std::string& name) {
    // Past property_get, which would note the call.
    const std::string value = contentOf(std::string(kPropertyArea) + "/" + name);
    return value.empty() || value == "(none)" ? "(unset)" : value;
}

void DeviceTest::setProperty(const std::string& name, const std::string& value) {
    ASSERT_EQ(0, property_set(name.c_str(), value.c_str()));
    resetTrace();
}

std::vector<LogLine> DeviceTest::driverError(int error) {
    return {{6, "libwardline",
             "notify_stab_driver write bstabd driver error: " + std::to_string(error)}};
}

BufferedEvent DeviceTest::onlyEvent() {
    const auto all = events();
    EXPECT_EQ(1u, all.size());
    return all.empty() ? BufferedEvent{} : all.front();
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "(none)";
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeContent(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

int modeOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

int openDescriptorsTo(const std::string& path) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry, gone) == path) ++count;
    }
    return count;
}

[[gnu::noinline]] void dirtyStack() {
    char bytes[16384];
    memset(bytes, 0xa5, sizeof(bytes));
    asm volatile("" : : "r"(bytes) : "memory");
}

int64_t nowMs() {
    using std::chrono::system_clock;
    return std::chrono::floor<std::chrono::milliseconds>(system_clock::now())
        .time_since_epoch()
        .count();
}
