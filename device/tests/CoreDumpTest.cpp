// Core dumps of processes that really crash, as the kernel writes them or does not.

#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "VirtualDeviceTest.h"

namespace fs = std::filesystem;

namespace {

constexpr char kCores[] = "/data/core";

class CoreDump : public VirtualDeviceTest {
  protected:
    CoreDump() {
        fs::remove_all(kCores);
        fs::create_directory(kCores);
    }

    /** Lets a program of this name crash under the example's crash handler. */
    static void crash(const std::string& name) {
        const fs::path build = fs::read_symlink("/proc/self/exe").parent_path().parent_path();
        const std::string run = "'" + build.string() + "/run' ";
        const std::string examples = "'" + build.string() + "/examples/";
        const std::string command = run + examples + "crash_handler' " + run + "--as '" + name +
                                    "' " + examples + "victim' segv";
        ASSERT_EQ(0, system(command.c_str()));
    }

    /** How many core files there are; each must be whole. */
    static int cores() {
        int count = 0;
        for (const auto& entry : fs::directory_iterator(kCores)) {
            expectCore(contentOf(entry.path()));
            ++count;
        }
        return count;
    }

  private:
    static void expectCore(const std::string& content) {
        Elf64_Ehdr header = {};
        content.copy(reinterpret_cast<char*>(&header), sizeof(header));
        ASSERT_EQ(std::string(ELFMAG), content.substr(0, SELFMAG));
        EXPECT_EQ(ET_CORE, header.e_type);
        EXPECT_EQ(EM_AARCH64, header.e_machine);

        Elf64_Phdr last = {};
        const size_t offset = header.e_phoff + (header.e_phnum - 1u) * sizeof(last);
        ASSERT_LE(offset + sizeof(last), content.size());
        content.copy(reinterpret_cast<char*>(&last), sizeof(last), offset);
        EXPECT_EQ(last.p_offset + last.p_filesz, content.size());
    }
};

TEST_F(CoreDump, IsWrittenForTheFirstCrashOfEachName) {
    writeContent(kTrimFlagNode, "1");

    crash("/system/bin/app");
    EXPECT_EQ(1, cores());
    EXPECT_EQ("0\n", contentOf(kCoredumpDisableNode));

    crash("/system/bin/app");
    EXPECT_EQ(1, cores());
    EXPECT_EQ("1\n", contentOf(kCoredumpDisableNode));

    crash("/system/bin/other");
    EXPECT_EQ(2, cores());
    EXPECT_EQ("1", property("dumpstate.coredump.-system-bin-app"));
    EXPECT_EQ("1", property("dumpstate.coredump.-system-bin-other"));
}

TEST_F(CoreDump, IsWrittenForEveryCrashInTrimMode2) {
    writeContent(kTrimFlagNode, "2");

    crash("app");
    crash("app");

    EXPECT_EQ(2, cores());
}

TEST_F(CoreDump, IsWhatTheDecisionBeforeWasWithoutTrimModeAndUnderTheVeto) {
    for (const char* policy : {"0", "4097"}) {
        SCOPED_TRACE(policy);
        fs::remove_all(kCores);
        fs::create_directory(kCores);
        writeContent(kTrimFlagNode, policy);

        writeContent(kCoredumpDisableNode, "1");
        crash("app");
        EXPECT_EQ(0, cores());

        writeContent(kCoredumpDisableNode, "0");
        crash("app");
        EXPECT_EQ(1, cores());
    }
}

TEST_F(CoreDump, IsWhatTheSwitchSaysThatTookNoDecision) {
    writeContent(kTrimFlagNode, "1");
    writeContent(kCoredumpDisableNode, "1");
    setDriver("disable_mode", "0444");

    crash("app");

    EXPECT_EQ(0, cores());
    EXPECT_EQ("1", property("dumpstate.coredump.app"));
}

TEST_F(CoreDump, AndTheRecordTellTheSame) {
    writeContent(kTrimFlagNode, "1");

    crash("app");
    crash("app");

    const auto records = DriverNode().drain();
    ASSERT_EQ(2u, records.size());
    EXPECT_NE(0u, DriverRecord(records[0]).flags & 0x8000);
    EXPECT_EQ(0u, DriverRecord(records[1]).flags & 0x8000);
    EXPECT_EQ(1, cores());
}

}  // namespace
