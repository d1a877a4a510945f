// A thousand changes of the configuration, on the device's own file system.

#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <string>
#include <vector>

#include "support/WatcherTest.h"

namespace {

class ConfigChanges : public WatcherTest {};

TEST_F(ConfigChanges, AreEachDeliveredOnceInTheirOrder) {
    struct statfs fileSystem = {};
    ASSERT_EQ(0, statfs(kDirectory, &fileSystem));
    ASSERT_EQ(EXT4_SUPER_MAGIC, fileSystem.f_type);
    start();
    std::vector<std::string> delivered;

    for (int change = 2; change <= 1001; ++change) {
        deliver(version(change));
        delivered.push_back("A " + std::to_string(change));
        ASSERT_TRUE(awaitDeliveries(delivered.size()));
    }

    expectOnly(delivered);
}

}  // namespace
