#include "MonitorTest.h"

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string_view>

namespace fs = std::filesystem;

namespace {

void emptyFolder(const char* path) {
    for (const auto& entry : fs::directory_iterator(path)) {
        fs::remove_all(entry);
    }
}

/** Raises or lowers a capability of the current thread, as far as it is permitted. */
void setEffective(unsigned capability, bool effective) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    syscall(SYS_capget, &header, data);
    __user_cap_data_struct& word = data[CAP_TO_INDEX(capability)];
    const uint32_t bit = CAP_TO_MASK(capability);
    word.effective = effective ? word.effective | (word.permitted & bit) : word.effective & ~bit;
    syscall(SYS_capset, &header, data);
}

}  // namespace

MonitorTest::MonitorTest() : umask_(umask(0077)) {
    fs::create_directories(kParent);
    emptyFolder(kParent);
}

MonitorTest::~MonitorTest() {
    fs::create_directories(kParent);
    emptyFolder(kParent);
    umask(umask_);
}

std::set<std::string> MonitorTest::files() {
    std::set<std::string> names;
    std::error_code absent;
    for (const auto& entry : fs::recursive_directory_iterator(kDirectory, absent)) {
        if (!entry.is_directory()) names.insert(entry.path().lexically_relative(kDirectory));
    }
    return names;
}

mode_t currentUmask() {
    constexpr std::string_view kLabel = "Umask:";
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (!line.starts_with(kLabel)) continue;
        return static_cast<mode_t>(std::stoul(line.substr(kLabel.size()), nullptr, 8));
    }
    ADD_FAILURE() << "the kernel does not tell the umask";
    return static_cast<mode_t>(-1);
}

WithoutOverride::WithoutOverride() {
    setEffective(CAP_DAC_OVERRIDE, false);
    setEffective(CAP_DAC_READ_SEARCH, false);
}

WithoutOverride::~WithoutOverride() {
    setEffective(CAP_DAC_OVERRIDE, true);
    setEffective(CAP_DAC_READ_SEARCH, true);
}
