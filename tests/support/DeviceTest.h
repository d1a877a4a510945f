#pragma once

#include <gtest/gtest.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "PlatformTrace.h"
#include "records/EventBufferFile.h"

/** A test in a device as after its first boot, with the calls to the platform noted. */
class DeviceTest : public testing::Test {
  protected:
    static constexpr char kTrimFlagNode[] = "/proc/sys/kernel/coredump_trim_flag";
    static constexpr char kCoredumpDisableNode[] = "/proc/sys/kernel/coredump_disable";
    static constexpr char kDriverNode[] = "/dev/stabd";

    DeviceTest();
    ~DeviceTest() override;

    /** The value of a property, or "(unset)" for one that does not exist or is empty. */
    static std::string property(const std::string& name);
    static void setProperty(const std::string& name, const std::string& value);

    /** Gives a kernel switch this content; what the kernel's own does not keep, a file does. */
    static void setSwitch(const std::string& path, const std::string& content);

    /** The content of a kernel switch, without the newline that the kernel's own adds. */
    static std::string switchContent(const std::string& path);

    /** The log lines of one record that did not reach the driver. */
    static std::vector<LogLine> driverError(int error);

    /** Every record that reached the event buffer during this test. */
    static std::vector<BufferedEvent> events() { return readEventBuffer(); }

    /** The one record of this test; fails when there is none, or more. */
    static BufferedEvent onlyEvent();
};

/** The whole content of a file, or "(none)" when there is no such file. */
std::string contentOf(const std::string& path);

/** Replaces a file's content, or makes the file. */
void writeContent(const std::string& path, const std::string& content);

/** The permission bits of what a path leads to, or -1 when there is nothing. */
int modeOf(const std::string& path);

/** How many descriptors of this process lead to path. */
int openDescriptorsTo(const std::string& path);

/** Leaves bytes other than zero where the next call's locals will be. */
void dirtyStack();

/** Wall clock, milliseconds since the Unix epoch. */
int64_t nowMs();
