#include "VirtualDeviceTest.h"

#include <fcntl.h>
#include <sched.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr char kModule[] = "/device/stabd.ko";
constexpr char kParameters[] = "/sys/module/stabd/parameters/";

/** Takes the folder away that lies over the kernel's switches, for this process alone. */
void uncoverSwitches() {
    ASSERT_EQ(0, unshare(CLONE_NEWNS)) << strerror(errno);
    ASSERT_EQ(0, umount("/proc/sys/kernel")) << strerror(errno);
}

}  // namespace

VirtualDeviceTest::VirtualDeviceTest() {
    uncoverSwitches();
    unlink(kDriverNode);  // The kernel takes only a node of its own away with the driver.
    reloadDriver();
}

VirtualDeviceTest::~VirtualDeviceTest() {
    reloadDriver();
}

void VirtualDeviceTest::reloadDriver() {
    syscall(SYS_delete_module, "stabd", O_NONBLOCK);  // A test may have unloaded it.
    loadDriver();
}

void VirtualDeviceTest::loadDriver() {
    const int module = open(kModule, O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(0, syscall(SYS_finit_module, module, "", 0)) << strerror(errno);
    close(module);
}

void VirtualDeviceTest::unloadDriver() {
    ASSERT_EQ(0, syscall(SYS_delete_module, "stabd", O_NONBLOCK)) << strerror(errno);
}

void VirtualDeviceTest::setDriver(const std::string& parameter, const std::string& value) {
    const int file = open((kParameters + parameter).c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_LE(0, file) << parameter;
    ASSERT_LT(0, write(file, value.data(), value.size())) << parameter << ": " << strerror(errno);
    close(file);
}

int VirtualDeviceTest::driver(const std::string& parameter) {
    return std::stoi(contentOf(kParameters + parameter));
}

std::string VirtualDeviceTest::driverCalls() {
    return std::to_string(driver("opens")) + " opens, " + std::to_string(driver("writes")) +
           " writes, " + std::to_string(driver("closes")) + " closes";
}
