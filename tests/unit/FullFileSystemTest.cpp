// Stability event files on a small file system that has no room for them. Run this in a device
// whose monitor directory lies on one.

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <wardline/StabEventReport.h>

#include <string>
#include <vector>

#include "support/MonitorTest.h"
#include "support/WireBytes.h"

namespace {

class FullFileSystem : public MonitorTest {
  protected:
    FullFileSystem() {
        struct statvfs space = {};
        statvfs(kParent, &space);
        sizeBytes_ = space.f_blocks * space.f_frsize;
        EXPECT_GE(16 * pageBytes_, sizeBytes_) << "the device has no small monitor directory";
    }

    /** Leaves this many bytes of room, whole pages. */
    void fillUpTo(size_t room) const {
        writeContent(std::string(kParent) + "/filler", std::string(sizeBytes_ - room, 'f'));
    }

    /** Reports an event with a process name of this length; returns the path of its file. */
    static std::string report(size_t nameBytes) {
        android::reportStabEventDirect(2, 300, std::string(nameBytes, 'n'), 1, nullptr);
        return std::string(kDirectory) + "/.train_stabevent_1.00_-_--_197001010000_1";
    }

    // The file system gives room by pages.
    const size_t pageBytes_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));

  private:
    size_t sizeBytes_;
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
    fillUpTo(pageBytes_);

    const std::string path = report(100'000);

    const std::string head = bytesOf("08 02 12 A0 8D 06");
    EXPECT_EQ(head + std::string(pageBytes_ - head.size(), 'n'), contentOf(path));
    EXPECT_EQ(0777, modeOf(path));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(FullFileSystem, TakesARecordThatFits) {
    fillUpTo(pageBytes_);

    const std::string path = report(1);

    EXPECT_EQ(bytesOf("08 02 12 01 6E 18 AC 02 20 01"), contentOf(path));
}

}  // namespace
