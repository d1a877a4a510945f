// Stability event files on a file system of 16384 bytes that has no room for them. Run this in a device
// whose monitor directory lies on one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <wardline/StabEventReport.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/MonitorTest.h"

namespace {

constexpr size_t kSizeBytes = 16384;

class FullFileSystem : public MonitorTest {
  protected:
    FullFileSystem() {
        struct statvfs space = {};
        statvfs(kParent, &space);
        EXPECT_EQ(kSizeBytes, space.f_blocks * space.f_frsize) << "the device has no small monitor";
    }

    /** Leaves this many bytes of room. */
    static void fillUpTo(size_t room) {
        writeContent(std::string(kParent) + "/filler", std::string(kSizeBytes - room, 'f'));
    }

    static std::string report(size_t nameBytes) {
        android::reportStabEventDirect(2, 300, std::string(nameBytes, 'n'), 1, nullptr);
        return std::string(kDirectory) + "/.train_stabevent_1.00_-_--_197001010000_1";
    }
};

TEST_F(FullFileSystem, LeavesAnEmptyFileForEverybodyAndNoLogLine) {
    fillUpTo(0);

    const std::string path = report(1);

    EXPECT_EQ("", contentOf(path));
    EXPECT_EQ(0777, modeOf(path));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0077u, currentUmask());
    EXPECT_EQ(0, openDescriptorsTo(path));
}

TEST_F(FullFileSystem, LeavesTheBeginningOfARecordThatDoesNotFit) {
    fillUpTo(4096);

    const std::string path = report(10000);

    const std::string content = contentOf(path);
    EXPECT_EQ(bytesOf("08 02 12 90 4E") + std::string(4091, 'n'), content);
    EXPECT_EQ(0777, modeOf(path));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(FullFileSystem, TakesARecordThatFits) {
    fillUpTo(12288);

    const std::string path = report(10000);

    EXPECT_EQ(5 + 10000 + 3 + 2u, contentOf(path).size());
}

}  // namespace
