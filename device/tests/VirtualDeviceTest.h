#pragma once

#include <string>

#include "support/DeviceTest.h"
#include "support/DriverNode.h"

/** A test in a virtual device whose driver has just been loaded, with the kernel's own switches. */
class VirtualDeviceTest : public DeviceTest {
  protected:
    VirtualDeviceTest();
    ~VirtualDeviceTest() override;

    static void loadDriver();
    static void unloadDriver();

    /** Sets a parameter of the driver: device/driver tells what there is. */
    static void setDriver(const std::string& parameter, const std::string& value);

    /** A parameter of the driver, one of its counters for instance. */
    static int driver(const std::string& parameter);

    /** What was done with /dev/stabd, as the driver counted it. */
    static std::string driverCalls();

  private:
    static void reloadDriver();
};
