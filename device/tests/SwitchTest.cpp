// android::needCoredump with the kernel's own switches: kernel.coredump_trim_flag and
// kernel.coredump_disable.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>
#include <wardline/Coredump.h>

#include <string>

#include "VirtualDeviceTest.h"

namespace {

using android::needCoredump;

/** Writes to a file as a shell does. Returns 0, or the error of the open or the write. */
int writeAs(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) return errno;
    const int error = write(file, text.data(), text.size()) < 0 ? errno : 0;
    close(file);
    return error;
}

class Switch : public VirtualDeviceTest {
  protected:
    static void setPolicy(const std::string& value) {
        ASSERT_EQ(0, writeAs(kTrimFlagNode, value));
        setDriver("trim_flag_writes", "0");
    }

    static std::vector<LogLine> line(int priority, const std::string& text) {
        return {{priority, "libwardline", text}};
    }
};

// The switches themselves.

TEST_F(Switch, HoldsAnInteger) {
    for (const char* value : {"0", "1", "-1", "2147483647", "-2147483648"}) {
        EXPECT_EQ(0, writeAs(kTrimFlagNode, value));
        EXPECT_EQ(std::string(value) + "\n", contentOf(kTrimFlagNode));
    }
}

TEST_F(Switch, RefusesWhatIsNoInteger) {
    for (const char* text : {"abc", "1x", "0x", "-", "2147483648"}) {
        EXPECT_EQ(EINVAL, writeAs(kTrimFlagNode, text)) << text;
    }
    EXPECT_EQ("0\n", contentOf(kTrimFlagNode));
}

// The policy.

TEST_F(Switch, OfThePolicyIsReadOnceAndTheOtherWrittenOnce) {
    setPolicy("1");

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ(1, driver("trim_flag_reads"));
    EXPECT_EQ(0, driver("trim_flag_writes"));
    EXPECT_EQ(0, driver("disable_reads"));
    EXPECT_EQ(1, driver("disable_writes"));
}

TEST_F(Switch, GetsTheDecisionOfEachCrash) {
    setPolicy("1");
    ASSERT_EQ(0, writeAs(kCoredumpDisableNode, "-77"));

    EXPECT_TRUE(needCoredump("app"));
    EXPECT_EQ("0\n", contentOf(kCoredumpDisableNode));

    EXPECT_FALSE(needCoredump("app"));
    EXPECT_EQ("1\n", contentOf(kCoredumpDisableNode));

    EXPECT_TRUE(needCoredump("other"));
    EXPECT_EQ("0\n", contentOf(kCoredumpDisableNode));
}

TEST_F(Switch, IsLeftAloneWithoutTrimModeAndUnderTheVeto) {
    for (const char* policy : {"0", "4", "4096", "4097", "4098", "-2147483648"}) {
        SCOPED_TRACE(policy);
        setPolicy(policy);

        EXPECT_FALSE(needCoredump("app"));

        EXPECT_EQ(0, driver("disable_writes"));
    }
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

// What the kernel refuses.

TEST_F(Switch, OfThePolicyThatIsLeftOutIsLogged) {
    setDriver("trim_flag_mode", "0");

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(line(4, "Failed to open sysctl node for read"), logLines());
    EXPECT_EQ(0, driver("disable_writes"));
}

TEST_F(Switch, OfThePolicyThatMayNotBeReadIsLogged) {
    setDriver("trim_flag_mode", "0200");

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(line(4, "Failed to open sysctl node for read"), logLines());
    EXPECT_EQ(0, driver("trim_flag_reads"));
    EXPECT_EQ(0, driver("disable_writes"));
}

TEST_F(Switch, OfThePolicyThatFailsIsLogged) {
    setPolicy("2");
    for (const int error : {EIO, EPERM, EINVAL, ENOMEM}) {
        resetTrace();
        setDriver("trim_flag_read_errno", std::to_string(error));

        EXPECT_FALSE(needCoredump("app"));

        EXPECT_EQ(line(6, "error reading integer from coredump_trim_flag"), logLines());
    }
    EXPECT_EQ(0, driver("disable_writes"));
}

TEST_F(Switch, ThatMayNotBeWrittenIsPassedOverInSilence) {
    setPolicy("1");
    setDriver("disable_mode", "0444");
    ASSERT_EQ(EACCES, writeAs(kCoredumpDisableNode, "0"));

    EXPECT_TRUE(needCoredump("app"));
    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ("1", property("dumpstate.coredump.app"));
    EXPECT_EQ(0, driver("disable_writes"));
}

TEST_F(Switch, ThatIsLeftOutIsPassedOverInSilence) {
    setPolicy("1");
    setDriver("disable_mode", "0");
    ASSERT_EQ("(none)", contentOf(kCoredumpDisableNode));

    EXPECT_TRUE(needCoredump("app"));
    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ("1", property("dumpstate.coredump.app"));
}

TEST_F(Switch, ThatRefusesTheDecisionDoesNotChangeIt) {
    setPolicy("1");
    ASSERT_EQ(0, writeAs(kCoredumpDisableNode, "-77"));
    setDriver("disable_write_errno", std::to_string(EPERM));

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ(line(4, "enable coredump for app"), logLines());
    EXPECT_EQ("-77\n", contentOf(kCoredumpDisableNode));
}

}  // namespace
