#include "DeviceTest.h"

#include <cutils/properties.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "DriverNode.h"

namespace fs = std::filesystem;

namespace {

constexpr char kPropertyArea[] = "/dev/__properties__";
constexpr char kEventBuffer[] = "/dev/sysevents_buf";

/** The number of the driver's node in a virtual device, else 0. */
dev_t driverDevice() {
    unsigned int major = 0;
    unsigned int minor = 0;
    char separator;
    std::ifstream("/sys/class/misc/stabd/dev") >> major >> separator >> minor;
    return makedev(major, minor);
}

/** Lets /dev/stabd be the driver's node where there is one, else a FIFO, and empties it. */
void restoreDriverNode(const char* path) {
    struct stat status = {};
    const dev_t device = driverDevice();
    if (device == 0 || lstat(path, &status) != 0 || status.st_rdev != device) {
        fs::remove_all(path);
        mknod(path, (device == 0 ? S_IFIFO : S_IFCHR) | 0666, device);
    }
    DriverNode().drain();
}

/** Lets the path of a kernel switch lead to the kernel's own where there is one, or be a file. */
void restoreSwitch(const fs::path& path) {
    const fs::path kernels = "/dev/sysctl" / path.filename();
    fs::remove_all(path);
    if (fs::exists(kernels)) fs::create_symlink(kernels, path);
    writeContent(path, "0\n");
}

}  // namespace

DeviceTest::DeviceTest() {
    if (!fs::exists(kEventBuffer) && !fs::exists(kPropertyArea)) {
        ADD_FAILURE() << "not in a device: run this by ctest or in scripts/device";
        exit(EXIT_FAILURE);
    }
    fs::create_directory(kPropertyArea);
    for (const auto& entry : fs::directory_iterator(kPropertyArea))
        fs::remove(entry);
    restoreSwitch(kTrimFlagNode);
    restoreSwitch(kCoredumpDisableNode);
    restoreDriverNode(kDriverNode);
    writeContent(kEventBuffer, "");
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

void DeviceTest::setSwitch(const std::string& path, const std::string& content) {
    writeContent(path, content);
    if (contentOf(path) == content || switchContent(path) == content) return;
    fs::remove(path);
    writeContent(path, content);
}

std::string DeviceTest::switchContent(const std::string& path) {
    std::string content = contentOf(path);
    if (fs::is_symlink(path) && content.ends_with('\n')) content.pop_back();
    return content;
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
    const fs::path target = fs::is_symlink(path) ? fs::read_symlink(path) : fs::path(path);
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry, gone) == target) ++count;
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
