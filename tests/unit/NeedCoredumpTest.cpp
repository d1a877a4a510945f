// android::needCoredump: the policy word, the latch of each name and the kernel switch.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wardline/Coredump.h>

#include <ostream>
#include <utility>

#include "support/DeviceTest.h"
#include "support/Meanwhile.h"

namespace {

using android::needCoredump;

constexpr int kInfo = 4;
constexpr int kError = 6;
constexpr char kUntouched[] = "-77";

/** What the library opened as a stream, each with the mode. */
std::vector<std::string> openedStreams;

class NeedCoredump : public DeviceTest {
  protected:
    NeedCoredump() { openedStreams.clear(); }

    static void setPolicy(const std::string& text) { setSwitch(kTrimFlagNode, text); }
    static std::string disableSwitch() { return switchContent(kCoredumpDisableNode); }

    /** Puts a content into the kernel switch that no decision writes. */
    static void markDisableSwitch() { setSwitch(kCoredumpDisableNode, kUntouched); }

    static void makeDisableSwitchUnwritable() {
        unlink(kCoredumpDisableNode);
        mkdir(kCoredumpDisableNode, 0777);
    }

    static std::vector<LogLine> decisionLine(const std::string& text) {
        return {{kInfo, "libwardline", text}};
    }
};

// The policy node.

TEST_F(NeedCoredump, AnswersFalseWithAnInfoLineWhenThePolicyNodeCannotBeOpened) {
    unlink(kTrimFlagNode);
    markDisableSwitch();

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ((std::vector<LogLine>{{kInfo, "libwardline", "Failed to open sysctl node for read"}}),
              logLines());
    EXPECT_EQ(1u, calls().size());
    EXPECT_EQ(kUntouched, disableSwitch());
    EXPECT_EQ("(none)", contentOf(kTrimFlagNode));
}

TEST_F(NeedCoredump, AnswersFalseWithAnErrorLineWhenThePolicyNodeHoldsNoInteger) {
    for (const char* content : {"", "\n", "abc", "-", "x1"}) {
        SCOPED_TRACE(content);
        resetTrace();
        setPolicy(content);
        markDisableSwitch();

        EXPECT_FALSE(needCoredump("app"));

        EXPECT_EQ((std::vector<LogLine>{
                      {kError, "libwardline", "error reading integer from coredump_trim_flag"}}),
                  logLines());
        EXPECT_EQ(1u, calls().size());
        EXPECT_EQ(kUntouched, disableSwitch());
    }
}

TEST_F(NeedCoredump, AnswersFalseWhenThePolicyNodeIsADirectory) {
    unlink(kTrimFlagNode);
    mkdir(kTrimFlagNode, 0777);

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ((std::vector<LogLine>{
                  {kError, "libwardline", "error reading integer from coredump_trim_flag"}}),
              logLines());
}

TEST_F(NeedCoredump, ReadsADecimalIntegerAndIgnoresWhatFollowsIt) {
    for (const char* content : {"2", "2\n", "  \n2", "+2", "2abc", "2 0", "02"}) {
        SCOPED_TRACE(content);
        setPolicy(content);

        EXPECT_TRUE(needCoredump("app"));
    }
}

TEST_F(NeedCoredump, ReadsNoHexadecimalInteger) {
    setPolicy("0x2");

    EXPECT_FALSE(needCoredump("app"));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(NeedCoredump, LeavesThePolicyNodeAsItWas) {
    setPolicy("1\n");

    needCoredump("app");

    EXPECT_EQ("1\n", contentOf(kTrimFlagNode));
}

TEST_F(NeedCoredump, LogsThatThereIsNoIntegerBeforeItClosesThePolicyNode) {
    setPolicy("abc");
    int openAtLog = -1;
    observeCalls([&](const std::string&) { openAtLog = openDescriptorsTo(kTrimFlagNode); });

    needCoredump("app");

    EXPECT_EQ(1, openAtLog);
    EXPECT_EQ(0, openDescriptorsTo(kTrimFlagNode));
}

TEST_F(NeedCoredump, OpensThePolicyNodeForReadingThenTheKernelSwitchForWriting) {
    setPolicy("2");

    needCoredump("app");

    EXPECT_EQ((std::vector<std::string>{"/proc/sys/kernel/coredump_trim_flag r",
                                        "/proc/sys/kernel/coredump_disable w"}),
              openedStreams);
}

TEST_F(NeedCoredump, ClosesThePolicyNodeBeforeItGoesOn) {
    setPolicy("1");
    int opened = 0;
    observeCalls([&](const std::string&) { opened += openDescriptorsTo(kTrimFlagNode); });

    needCoredump("app");

    EXPECT_EQ(3u, calls().size());
    EXPECT_EQ(0, opened);
}

TEST_F(NeedCoredump, LeavesNoDescriptorOpen) {
    for (const char* policy : {"abc", "0", "1", "2"}) {
        setPolicy(policy);
        needCoredump("app");
    }

    EXPECT_EQ(0, openDescriptorsTo(kTrimFlagNode));
    EXPECT_EQ(0, openDescriptorsTo(kCoredumpDisableNode));
}

// Off: trim mode 0 or the veto.

class NeedCoredumpOff : public NeedCoredump, public testing::WithParamInterface<const char*> {};

TEST_P(NeedCoredumpOff, AnswersFalseAndTouchesNothing) {
    setPolicy(GetParam());
    markDisableSwitch();

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(std::vector<std::string>(), calls());
    EXPECT_EQ(kUntouched, disableSwitch());
    EXPECT_EQ("(unset)", property("dumpstate.coredump.app"));
}

INSTANTIATE_TEST_SUITE_P(TrimModeZero, NeedCoredumpOff,
                         testing::Values("0", "4", "8", "256", "-4", "-8192"));
// 0x1000, 0x1001, 0x1002, 0x1003, all bits.
INSTANTIATE_TEST_SUITE_P(TrimVeto, NeedCoredumpOff,
                         testing::Values("4096", "4097", "4098", "4099", "-1"));

TEST_F(NeedCoredump, LeavesTheDecisionBeforeInTheKernelSwitchWhenTurnedOff) {
    setPolicy("2");
    needCoredump("app");
    setPolicy("0");

    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ("0", disableSwitch());
}

// Always on: trim modes 2 and 3.

class NeedCoredumpAlways : public NeedCoredump, public testing::WithParamInterface<const char*> {};

TEST_P(NeedCoredumpAlways, AllowsEveryCrashWithoutAnyProperty) {
    setPolicy(GetParam());
    for (int crash = 1; crash <= 3; ++crash) {
        resetTrace();
        markDisableSwitch();

        EXPECT_TRUE(needCoredump("/system/bin/app"));

        EXPECT_EQ((std::vector<std::string>{"log 4 enable coredump for /system/bin/app"}), calls());
        EXPECT_EQ("0", disableSwitch());
    }
}

// 2, 3; the same with every ignored bit set: -4098 lacks bits 0 and 12, -4097 bit 12.
INSTANTIATE_TEST_SUITE_P(TrimModesTwoAndThree, NeedCoredumpAlways,
                         testing::Values("2", "3", "6", "7", "2050", "8195", "-4098", "-4097"));

// Once for each name: trim mode 1.

TEST_F(NeedCoredump, AllowsTheFirstCrashOfAName) {
    setPolicy("1");
    markDisableSwitch();

    EXPECT_TRUE(needCoredump("/system/bin/surfaceflinger"));

    EXPECT_EQ((std::vector<std::string>{
                  "property_get dumpstate.coredump.-system-bin-surfaceflinger default 0",
                  "property_set dumpstate.coredump.-system-bin-surfaceflinger 1",
                  "log 4 enable coredump for /system/bin/surfaceflinger"}),
              calls());
    EXPECT_EQ("1", property("dumpstate.coredump.-system-bin-surfaceflinger"));
    EXPECT_EQ("0", disableSwitch());
}

TEST_F(NeedCoredump, RefusesEveryLaterCrashOfTheName) {
    setPolicy("1");
    needCoredump("/system/bin/surfaceflinger");
    for (int crash = 2; crash <= 4; ++crash) {
        resetTrace();
        markDisableSwitch();

        EXPECT_FALSE(needCoredump("/system/bin/surfaceflinger"));

        EXPECT_EQ((std::vector<std::string>{
                      "property_get dumpstate.coredump.-system-bin-surfaceflinger default 0",
                      "log 4 disable coredump for /system/bin/surfaceflinger"}),
                  calls());
        EXPECT_EQ("1", disableSwitch());
    }
}

TEST_F(NeedCoredump, LatchesEachNameOnItsOwn) {
    setPolicy("1");
    EXPECT_TRUE(needCoredump("a"));

    EXPECT_TRUE(needCoredump("b"));
    EXPECT_FALSE(needCoredump("a"));
}

TEST_F(NeedCoredump, AllowsACrashAgainWhenTheLatchIsResetToZero) {
    setPolicy("1");
    EXPECT_TRUE(needCoredump("app"));
    setProperty("dumpstate.coredump.app", "0");

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ("1", property("dumpstate.coredump.app"));
}

TEST_F(NeedCoredump, TakesALatchThatStartsWithNoNumberForUnset) {
    setPolicy("1");
    for (const char* value : {"0", "abc", "", "00", "0x1", "-0", "x1", "+"}) {
        SCOPED_TRACE(value);
        setProperty("dumpstate.coredump.app", value);

        EXPECT_TRUE(needCoredump("app"));

        EXPECT_EQ("1", property("dumpstate.coredump.app"));
    }
}

TEST_F(NeedCoredump, TakesALatchThatStartsWithAnyOtherNumberForSet) {
    setPolicy("1");
    for (const char* value : {"1", "2", "-1", "01", "10", "7abc", " 5"}) {
        SCOPED_TRACE(value);
        setProperty("dumpstate.coredump.app", value);

        EXPECT_FALSE(needCoredump("app"));

        EXPECT_EQ(value, property("dumpstate.coredump.app"));
    }
}

TEST_F(NeedCoredump, ReadsALatchOfTheLongestValue) {
    setPolicy("1");
    setProperty("dumpstate.coredump.app", std::string(90, '0') + "1");

    EXPECT_FALSE(needCoredump("app"));
}

TEST_F(NeedCoredump, ReadsTheLatchIntoAZeroedBufferForTheLongestValue) {
    setPolicy("1");
    dirtyStack();

    needCoredump("app");

    EXPECT_EQ(std::string(92, '\0'), propertyBuffer());
}

TEST_F(NeedCoredump, AllowsBothOfTwoSimultaneousCrashesOfAName) {
    setPolicy("1");
    bool first = true;
    bool otherAllowed = false;
    observeCalls([&](const std::string& call) {
        if (!call.starts_with("property_set") || !std::exchange(first, false)) return;
        doMeanwhile([&] { otherAllowed = needCoredump("app"); });
    });

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_TRUE(otherAllowed);
    EXPECT_EQ("0", disableSwitch());
}

TEST_F(NeedCoredump, KeepsNamesApartThatCrashAtTheSameTime) {
    for (const char* latch : {"0", "1"}) {
        setPolicy("1");
        setProperty("dumpstate.coredump.a", latch);
        setProperty("dumpstate.coredump.another", std::string("1") == latch ? "0" : "1");
        bool first = true;
        bool otherAllowed = false;
        observeReturns([&](const std::string& call) {
            if (!call.starts_with("property_get") || !std::exchange(first, false)) return;
            doMeanwhile([&] { otherAllowed = needCoredump("another"); });
        });

        const bool allowed = needCoredump("a");

        EXPECT_EQ(std::string("0") == latch, allowed);
        EXPECT_EQ(std::string("1") == latch, otherAllowed);
        EXPECT_EQ("1", property("dumpstate.coredump.a"));
        EXPECT_EQ("1", property("dumpstate.coredump.another"));
    }
}

TEST_F(NeedCoredump, AppliesTrimMode1WhateverTheIgnoredBits) {
    for (const char* policy : {"1", "5", "2049", "8193", "-4099"}) {
        SCOPED_TRACE(policy);
        setPolicy(policy);
        setProperty("dumpstate.coredump.app", "0");

        EXPECT_TRUE(needCoredump("app"));
        EXPECT_FALSE(needCoredump("app"));
    }
}

struct LatchKey {
    const char* processName;
    const char* key;

    friend void PrintTo(const LatchKey& name, std::ostream* out) {
        *out << "'" << name.processName << "'";
    }
};

class NeedCoredumpLatchKey : public NeedCoredump, public testing::WithParamInterface<LatchKey> {};

TEST_P(NeedCoredumpLatchKey, IsThePrefixAndTheNameWithHyphensForSlashes) {
    setPolicy("1");

    EXPECT_TRUE(needCoredump(GetParam().processName));

    ASSERT_EQ(3u, calls().size());
    EXPECT_EQ(std::string("property_get ") + GetParam().key + " default 0", calls()[0]);
    EXPECT_EQ(std::string("property_set ") + GetParam().key + " 1", calls()[1]);
    EXPECT_EQ(std::string("log 4 enable coredump for ") + GetParam().processName, calls()[2]);
}

INSTANTIATE_TEST_SUITE_P(
    Names, NeedCoredumpLatchKey,
    testing::Values(LatchKey{"system_server", "dumpstate.coredump.system_server"},
                    LatchKey{"", "dumpstate.coredump."}, LatchKey{"/", "dumpstate.coredump.-"},
                    LatchKey{"//a//", "dumpstate.coredump.--a--"},
                    LatchKey{"/a-b/c", "dumpstate.coredump.-a-b-c"},
                    LatchKey{"com.app:remote", "dumpstate.coredump.com.app:remote"},
                    LatchKey{"%s%n /x", "dumpstate.coredump.%s%n -x"}));

TEST_F(NeedCoredump, AllowsEveryCrashOfANameThatThePropertyServiceRefuses) {
    setPolicy("1");
    for (const std::string& name : {std::string(300, 'n'), std::string("a name with blanks")}) {
        for (int crash = 1; crash <= 2; ++crash) {
            resetTrace();
            markDisableSwitch();

            EXPECT_TRUE(needCoredump(name.c_str()));

            EXPECT_EQ(
                (std::vector<std::string>{"property_get dumpstate.coredump." + name + " default 0",
                                          "property_set dumpstate.coredump." + name + " 1",
                                          "log 4 enable coredump for " + name}),
                calls());
            EXPECT_EQ("0", disableSwitch());
        }
        EXPECT_EQ("(unset)", property("dumpstate.coredump." + name));
    }
}

// The kernel switch and the line about the decision.

TEST_F(NeedCoredump, LogsTheDecisionAtInfoUnderTheLibrarysTag) {
    setPolicy("1");

    needCoredump("/a/b");
    EXPECT_EQ(decisionLine("enable coredump for /a/b"), logLines());

    resetTrace();
    needCoredump("/a/b");
    EXPECT_EQ(decisionLine("disable coredump for /a/b"), logLines());
}

TEST_F(NeedCoredump, ReplacesTheWholeContentOfTheKernelSwitch) {
    setPolicy("2");
    writeContent(kCoredumpDisableNode, "1234567890\n");

    needCoredump("app");

    EXPECT_EQ("0", disableSwitch());
}

TEST_F(NeedCoredump, MakesTheKernelSwitchWhereThereIsNone) {
    setPolicy("2");
    unlink(kCoredumpDisableNode);

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ("0", disableSwitch());
    EXPECT_EQ(decisionLine("enable coredump for app"), logLines());
}

TEST_F(NeedCoredump, WritesAndClosesTheKernelSwitchBeforeItLogs) {
    setPolicy("2");
    markDisableSwitch();
    std::string contentAtLog;
    int openAtLog = -1;
    observeCalls([&](const std::string&) {
        contentAtLog = disableSwitch();
        openAtLog = openDescriptorsTo(kCoredumpDisableNode);
    });

    needCoredump("app");

    EXPECT_EQ("0", contentAtLog);
    EXPECT_EQ(0, openAtLog);
}

TEST_F(NeedCoredump, SetsTheLatchBeforeItWritesTheKernelSwitch) {
    setPolicy("1");
    markDisableSwitch();
    std::string contentAtSet;
    observeCalls([&](const std::string& call) {
        if (call.starts_with("property_set")) contentAtSet = disableSwitch();
    });

    needCoredump("app");

    EXPECT_EQ(kUntouched, contentAtSet);
}

TEST_F(NeedCoredump, AnswersTrueSilentlyWhenTheKernelSwitchCannotBeOpened) {
    setPolicy("2");
    makeDisableSwitchUnwritable();

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ(std::vector<std::string>(), calls());
}

TEST_F(NeedCoredump, UsesTheLatchUpWhenTheKernelSwitchCannotBeOpened) {
    setPolicy("1");
    makeDisableSwitchUnwritable();

    EXPECT_TRUE(needCoredump("app"));
    EXPECT_FALSE(needCoredump("app"));

    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ("1", property("dumpstate.coredump.app"));
}

TEST_F(NeedCoredump, LogsTheDecisionAlsoWhenTheKernelSwitchTakesNothing) {
    setPolicy("2");
    unlink(kCoredumpDisableNode);
    ASSERT_EQ(0, symlink("/dev/full", kCoredumpDisableNode));

    EXPECT_TRUE(needCoredump("app"));

    EXPECT_EQ(decisionLine("enable coredump for app"), logLines());
}

}  // namespace

FILE* fopen(const char* path, const char* mode) {
    static const auto next = reinterpret_cast<decltype(fopen)*>(dlsym(RTLD_NEXT, "fopen"));
    if (isOfLibrary(__builtin_return_address(0))) {
        openedStreams.push_back(std::string(path) + " " + mode);
    }
    return next(path, mode);
}
