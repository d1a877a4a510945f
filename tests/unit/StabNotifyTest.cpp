// The four notifications: what reaches the driver, the event buffer, the log and the latch.

#include <gtest/gtest.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <climits>
#include <filesystem>
#include <memory>
#include <ostream>
#include <utility>

#include "proto/wardline_records.pb.h"
#include "support/DeviceTest.h"
#include "support/DriverNode.h"
#include "support/Meanwhile.h"
#include "support/WireBytes.h"

namespace {

constexpr int kInfo = 4;
constexpr int kError = 6;
constexpr char kLatch[] = "sys.stab.system_killed";
constexpr char kReadLatch[] = "property_get_int32 sys.stab.system_killed default 0";

/** The bytes of a field: text, then zeros. */
std::string field(const std::string& text, size_t size) {
    return text + std::string(size - text.size(), '\0');
}

class StabNotify : public DeviceTest {
  protected:
    static void allowCoredumps() { writeContent(kTrimFlagNode, "2"); }

    /** The bytes of the one record that the driver got. */
    std::string onlyRecord() {
        const auto records = driver_.drain();
        EXPECT_EQ(1u, records.size());
        return records.empty() ? std::string(136, '\0') : records.front();
    }

    /** The bytes of the one event but for its time, which is the one that the buffer got. */
    static std::string onlyEventWithoutTime() {
        const auto all = events();
        EXPECT_EQ(1u, all.size());
        if (all.empty()) return "";
        EXPECT_EQ(EventOperation::kSingleFileWrites, all.front().operation);
        EXPECT_EQ(36, all.front().eventId);
        StabEvent record;
        EXPECT_TRUE(record.ParseFromString(all.front().payload));
        EXPECT_EQ(static_cast<uint64_t>(all.front().timeMs), record.timestamp_ms());
        record.clear_timestamp_ms();
        return record.SerializeAsString();
    }

    /** Makes the property service refuse every value. */
    static void refuseProperties() {
        setProperty("a", "1");  // The service has found its area once.
        std::filesystem::remove_all("/dev/__properties__");
    }

    /** Reports something else just before the next value for the latch reaches its service. */
    static void reportBeforeLatchIsSet(std::function<void()> report) {
        observeCalls([report, first = std::make_shared<bool>(true)](const std::string& call) {
            if (!call.starts_with("property_set sys.stab") || !std::exchange(*first, false)) return;
            doMeanwhile(report);
        });
    }

    static void setLatch(const std::string& value) { setProperty(kLatch, value); }
    static std::string latch() { return property(kLatch); }

    DriverNode driver_;
};

// A native crash.

TEST_F(StabNotify, NeWritesTheWholeRecord) {
    dirtyStack();

    notify_stab_ne("app", 0x01020304, 11, 1, "why");

    EXPECT_EQ(bytesOf("61 70 70") + std::string(37, '\0') +      // process_name
                  bytesOf("02 00 00 00  00 00 00 00") +          // event_type, reserved
                  bytesOf("1f 61 03 00 02 00 00 00") +           // flags
                  bytesOf("04 03 02 01") +                       // pid
                  bytesOf("77 68 79") + std::string(57, '\0') +  // detail
                  std::string(8, '\0') +                         // reserved
                  bytesOf("01 00 00 00  00 00 00 00"),           // kind, reserved
              onlyRecord());
}

TEST_F(StabNotify, NeLogsOneInfoLineFirst) {
    notify_stab_ne("/system/bin/%s", -7, 11, 1, "");

    EXPECT_EQ((std::vector<LogLine>{{kInfo, "libwardline",
                                     "notify_stab_ne process: /system/bin/%s pid: -7, signo: 11"}}),
              logLines());
    EXPECT_EQ("log 4 notify_stab_ne process: /system/bin/%s pid: -7, signo: 11", calls().front());
}

TEST_F(StabNotify, NeReportsTheCrashAsAnEventOfType2WithTheCurrentTime) {
    const int64_t before = nowMs();
    notify_stab_ne("app", 300, 11, 1, "why");
    const int64_t after = nowMs();

    EXPECT_EQ(bytesOf("08 02 12 03 61 70 70 18 AC 02"), onlyEventWithoutTime());
    EXPECT_LE(before, events().front().timeMs);
    EXPECT_GE(after, events().front().timeMs);
}

TEST_F(StabNotify, NeTakesANegativePid) {
    notify_stab_ne("app", -1, 11, 1, "");

    EXPECT_EQ(-1, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ(bytesOf("08 02 12 03 61 70 70 18 FF FF FF FF 0F"), onlyEventWithoutTime());
}

TEST_F(StabNotify, NeDecidesThenTellsTheDriverThenReportsThenLatches) {
    writeContent(kTrimFlagNode, "1");
    std::vector<std::string> order;
    observeCalls([&](const std::string& call) {
        for (const std::string& record : driver_.drain()) {
            order.push_back("record " + std::to_string(DriverRecord(record).eventType));
        }
        order.push_back(call);
    });

    notify_stab_ne("system_server", 1, 6, 128, "");

    EXPECT_EQ((std::vector<std::string>{
                  "log 4 notify_stab_ne process: system_server pid: 1, signo: 6",
                  "property_get dumpstate.coredump.system_server default 0",
                  "property_set dumpstate.coredump.system_server 1",
                  "log 4 enable coredump for system_server", "record 2", "single_file_writes 36",
                  kReadLatch, "property_set sys.stab.system_killed 2"}),
              order);
}

struct CutText {
    size_t given;
    size_t kept;

    friend void PrintTo(const CutText& text, std::ostream* out) {
        *out << text.given << " bytes to " << text.kept;
    }
};

class StabNotifyName : public StabNotify, public testing::WithParamInterface<CutText> {};

TEST_P(StabNotifyName, IsCutTo39BytesInTheRecordAndWholeInTheEvent) {
    const std::string name(GetParam().given, 'p');
    dirtyStack();

    notify_stab_ne(name.c_str(), 1, 11, 1, std::string(59, 'd').c_str());

    EXPECT_EQ(field(std::string(GetParam().kept, 'p'), 40), DriverRecord(onlyRecord()).processName);
    StabEvent event;
    ASSERT_TRUE(event.ParseFromString(events().front().payload));
    EXPECT_EQ(name, event.process_name());
}

INSTANTIATE_TEST_SUITE_P(Lengths, StabNotifyName,
                         testing::Values(CutText{0, 0}, CutText{1, 1}, CutText{38, 38},
                                         CutText{39, 39}, CutText{40, 39}, CutText{41, 39},
                                         CutText{136, 39}, CutText{5000, 39}));

class StabNotifyDetail : public StabNotify, public testing::WithParamInterface<CutText> {};

TEST_P(StabNotifyDetail, IsCutTo59BytesInTheRecord) {
    const std::string detail(GetParam().given, 'd');
    dirtyStack();

    notify_stab_ne(std::string(39, 'p').c_str(), 1, 11, 1, detail.c_str());

    const std::string record = onlyRecord();
    EXPECT_EQ(field(std::string(GetParam().kept, 'd'), 60), DriverRecord(record).detail);
    EXPECT_EQ(std::string(8, '\0'), record.substr(120, 8));
}

INSTANTIATE_TEST_SUITE_P(Lengths, StabNotifyDetail,
                         testing::Values(CutText{0, 0}, CutText{1, 1}, CutText{58, 58},
                                         CutText{59, 59}, CutText{60, 59}, CutText{61, 59},
                                         CutText{5000, 59}));

TEST_F(StabNotify, NePassesTextsOfAnyBytesThrough) {
    notify_stab_ne("\xff\x01%s", 1, 11, 1, "\xc3\x28%n\n");

    const DriverRecord record(onlyRecord());
    EXPECT_EQ(field("\xff\x01%s", 40), record.processName);
    EXPECT_EQ(field("\xc3\x28%n\n", 60), record.detail);
}

struct FlagsCase {
    int signo;
    int code;
    const char* processName;
    uint64_t refused;  // Flags without and with a core dump.
    uint64_t allowed;

    friend void PrintTo(const FlagsCase& crash, std::ostream* out) {
        *out << "signal " << crash.signo << ", code " << crash.code << ", '" << crash.processName
             << "'";
    }
};

class StabNotifyFlags : public StabNotify,
                        public testing::WithParamInterface<std::tuple<FlagsCase, bool>> {};

TEST_P(StabNotifyFlags, TellSignalAbortAndCoredump) {
    const auto& [crash, allowed] = GetParam();
    if (allowed) allowCoredumps();

    notify_stab_ne(crash.processName, 1, crash.signo, crash.code, "");

    EXPECT_EQ(allowed ? crash.allowed : crash.refused, DriverRecord(onlyRecord()).flags);
}

constexpr uint64_t kPlain = 0x3611f;
constexpr uint64_t kPlainDump = 0x3e11f;

INSTANTIATE_TEST_SUITE_P(
    Crashes, StabNotifyFlags,
    testing::Combine(testing::Values(
                         // Bit 10: signal 6, code 128 and "system_server" anywhere in the name.
                         FlagsCase{6, 128, "system_server", 0x3651f, 0x3e51f},
                         FlagsCase{6, 128, "system_server_x", 0x3651f, 0x3e51f},
                         FlagsCase{6, 128, "/vendor/bin/system_server_watch", 0x3651f, 0x3e51f},
                         FlagsCase{6, 128, "/a/name/that/is/longer/than/the/field/system_server",
                                   0x3651f, 0x3e51f},
                         FlagsCase{6, 128, "system_serve", kPlain, kPlainDump},
                         FlagsCase{6, 128, "ystem_server", kPlain, kPlainDump},
                         FlagsCase{6, 128, "System_server", kPlain, kPlainDump},
                         FlagsCase{6, 128, "zygote", kPlain, kPlainDump},
                         FlagsCase{6, 128, "zygote64", kPlain, kPlainDump},
                         FlagsCase{6, 128, "", kPlain, kPlainDump},
                         FlagsCase{6, 0, "system_server", kPlain, kPlainDump},
                         FlagsCase{6, 127, "system_server", kPlain, kPlainDump},
                         FlagsCase{6, 129, "system_server", kPlain, kPlainDump},
                         FlagsCase{6, -6, "system_server", kPlain, kPlainDump},
                         FlagsCase{6, -128, "system_server", kPlain, kPlainDump},
                         FlagsCase{5, 128, "system_server", kPlain, kPlainDump},
                         FlagsCase{7, 128, "system_server", kPlain, kPlainDump},
                         // Bit 33: signal 11, whatever the rest.
                         FlagsCase{11, 128, "system_server", 0x20003611f, 0x20003e11f},
                         FlagsCase{11, 1, "app", 0x20003611f, 0x20003e11f},
                         FlagsCase{11, 0, "zygote", 0x20003611f, 0x20003e11f},
                         FlagsCase{10, 1, "app", kPlain, kPlainDump},
                         FlagsCase{12, 1, "app", kPlain, kPlainDump},
                         FlagsCase{0, 0, "app", kPlain, kPlainDump},
                         FlagsCase{-11, 1, "app", kPlain, kPlainDump},
                         FlagsCase{INT_MAX, 1, "app", kPlain, kPlainDump},
                         FlagsCase{INT_MIN, 1, "app", kPlain, kPlainDump}),
                     testing::Bool()));

TEST_F(StabNotify, NeAsksForTheCoredumpOfTheWholeName) {
    writeContent(kTrimFlagNode, "1");
    const std::string name = "/" + std::string(60, 'p');

    notify_stab_ne(name.c_str(), 1, 11, 1, "");

    EXPECT_EQ("1", property("dumpstate.coredump.-" + std::string(60, 'p')));
    EXPECT_EQ("0", switchContent(kCoredumpDisableNode));
}

struct CrashLatchCase {
    const char* processName;
    const char* fromUnset;  // The latch after the crash, "(unset)" when it is not touched.

    friend void PrintTo(const CrashLatchCase& crash, std::ostream* out) {
        *out << "'" << crash.processName << "'";
    }
};

class StabNotifyCrashLatch : public StabNotify,
                             public testing::WithParamInterface<CrashLatchCase> {};

TEST_P(StabNotifyCrashLatch, IsSetForThePrefixWhenUnset) {
    notify_stab_ne(GetParam().processName, 1, 6, 128, "");

    EXPECT_EQ(GetParam().fromUnset, latch());
}

TEST_P(StabNotifyCrashLatch, KeepsWhateverCauseIsRecorded) {
    for (const char* value : {"1", "2", "3", "4", "5", "6", "-1", "256", "65536"}) {
        setLatch(value);

        notify_stab_ne(GetParam().processName, 1, 6, 128, "");

        EXPECT_EQ(value, latch());
    }
}

TEST_P(StabNotifyCrashLatch, IsTakenForUnsetWhenZeroOrNoNumber) {
    for (const std::string value : {"0", "abc", "99999999999"}) {
        setLatch(value);

        notify_stab_ne(GetParam().processName, 1, 6, 128, "");

        const bool touched = std::string("(unset)") != GetParam().fromUnset;
        EXPECT_EQ(touched ? GetParam().fromUnset : value, latch());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Names, StabNotifyCrashLatch,
    testing::Values(CrashLatchCase{"system_server", "2"}, CrashLatchCase{"system_server_2", "2"},
                    CrashLatchCase{"system_serverzygote", "2"}, CrashLatchCase{"zygote", "5"},
                    CrashLatchCase{"zygote64", "5"}, CrashLatchCase{"zygotesystem_server", "5"},
                    CrashLatchCase{"zygote_of_a_name_that_is_longer_than_the_records_field", "5"},
                    CrashLatchCase{"system_serve", "(unset)"}, CrashLatchCase{"zygot", "(unset)"},
                    CrashLatchCase{"", "(unset)"}, CrashLatchCase{"/system_server", "(unset)"},
                    CrashLatchCase{"xzygote", "(unset)"}, CrashLatchCase{"Zygote", "(unset)"},
                    CrashLatchCase{"/vendor/bin/system_server_watch", "(unset)"}));

TEST_F(StabNotify, NeDoesNotLookAtTheLatchForOtherProcesses) {
    notify_stab_ne("/vendor/bin/system_server_watch", 1, 6, 128, "");

    EXPECT_EQ(2u, calls().size());
    EXPECT_EQ("single_file_writes 36", calls().back());
}

TEST_F(StabNotify, NeLatchesAProcessThatCrashedOnAnySignal) {
    notify_stab_ne("zygote", 1, 0, 0, "");

    EXPECT_EQ("5", latch());
}

TEST_F(StabNotify, NeLetsTheLaterOfTwoSimultaneousReportersSetTheLatch) {
    reportBeforeLatchIsSet([] { notify_stab_ne("zygote", 2, 11, 1, ""); });

    notify_stab_ne("system_server", 1, 11, 1, "");

    EXPECT_EQ("2", latch());
    EXPECT_EQ((std::vector<std::string>{
                  "log 4 notify_stab_ne process: system_server pid: 1, signo: 11",
                  "single_file_writes 36", kReadLatch, "property_set sys.stab.system_killed 2",
                  "log 4 notify_stab_ne process: zygote pid: 2, signo: 11", "single_file_writes 36",
                  kReadLatch, "property_set sys.stab.system_killed 5"}),
              calls());
}

TEST_F(StabNotify, NeIgnoresThatTheLatchIsRefused) {
    refuseProperties();

    notify_stab_ne("zygote", 9, 11, 1, "");

    EXPECT_EQ(9, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ(1u, events().size());
    EXPECT_EQ(1u, logLines().size());
    EXPECT_EQ("property_set sys.stab.system_killed 5", calls().back());
}

TEST_F(StabNotify, NeTakesPidZero) {
    notify_stab_ne("app", 0, 11, 1, "");

    EXPECT_EQ(0, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ(bytesOf("08 02 12 03 61 70 70 18 00"), onlyEventWithoutTime());
}

TEST_F(StabNotify, NeReportsAndLatchesWithoutADriver) {
    unlink(kDriverNode);
    writeContent(kTrimFlagNode, "1");

    notify_stab_ne("zygote", 9, 11, 1, "");

    EXPECT_EQ((std::vector<std::string>{
                  "log 4 notify_stab_ne process: zygote pid: 9, signo: 11",
                  "property_get dumpstate.coredump.zygote default 0",
                  "property_set dumpstate.coredump.zygote 1", "log 4 enable coredump for zygote",
                  "log 6 notify_stab_driver write bstabd driver error: 2", "single_file_writes 36",
                  kReadLatch, "property_set sys.stab.system_killed 5"}),
              calls());
    EXPECT_EQ(bytesOf("08 02 12 06 7A 79 67 6F 74 65 18 09"), onlyEventWithoutTime());
    EXPECT_EQ("5", latch());
}

TEST_F(StabNotify, NeTellsTheDriverAndLatchesWithoutAnEventBuffer) {
    unlink("/dev/sysevents_buf");

    notify_stab_ne("zygote", 9, 11, 1, "");

    EXPECT_EQ(9, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ("5", latch());
    EXPECT_EQ(1u, logLines().size());
}

// The killing of system_server or zygote.

struct KilledCase {
    int cause;
    const char* latchBefore;  // Null: the property does not exist.
    const char* latchAfter;
    const char* reported;  // The name in record and event; null when there is neither.

    friend void PrintTo(const KilledCase& killed, std::ostream* out) {
        *out << "cause " << killed.cause << ", latch "
             << (killed.latchBefore == nullptr ? "absent" : killed.latchBefore);
    }
};

class StabNotifySystemKilled : public StabNotify, public testing::WithParamInterface<KilledCase> {};

TEST_P(StabNotifySystemKilled, DoesWhatTheLatchLetsThrough) {
    const KilledCase& killed = GetParam();
    if (killed.latchBefore != nullptr) setLatch(killed.latchBefore);

    notify_stab_system_killed(killed.cause, 300);

    EXPECT_EQ(killed.latchAfter, latch());
    if (killed.reported == nullptr) {
        EXPECT_EQ(0u, driver_.drain().size());
        EXPECT_EQ(0u, events().size());
        EXPECT_EQ(std::vector<LogLine>(), logLines());
    } else {
        EXPECT_EQ(field(killed.reported, 40), DriverRecord(onlyRecord()).processName);
        EXPECT_EQ(1u, events().size());
        EXPECT_EQ((std::vector<LogLine>{
                      {kInfo, "libwardline",
                       "notify_stab_system_killed notify type: " + std::to_string(killed.cause)}}),
                  logLines());
    }
}

constexpr const char* kNobody = nullptr;

INSTANTIATE_TEST_SUITE_P(
    LatchUnset, StabNotifySystemKilled,
    testing::Values(KilledCase{1, nullptr, "1", kNobody}, KilledCase{2, nullptr, "2", kNobody},
                    KilledCase{3, nullptr, "3", kNobody},
                    KilledCase{4, nullptr, "4", "system_server"},
                    KilledCase{5, nullptr, "5", kNobody},
                    KilledCase{6, nullptr, "(unset)", "zygote"}, KilledCase{1, "0", "1", kNobody},
                    KilledCase{2, "0", "2", kNobody}, KilledCase{3, "0", "3", kNobody},
                    KilledCase{4, "0", "4", "system_server"}, KilledCase{5, "0", "5", kNobody},
                    KilledCase{6, "0", "0", "zygote"}, KilledCase{4, "abc", "4", "system_server"},
                    KilledCase{6, "abc", "abc", "zygote"},
                    KilledCase{3, "99999999999", "3", kNobody}));

std::vector<KilledCase> everyCauseWithEveryLatch() {
    std::vector<KilledCase> cases;
    for (int cause = 1; cause <= 6; ++cause) {
        for (const char* latch : {"1", "2", "3", "4", "5", "6", "-1", "256", "65536"}) {
            cases.push_back({cause, latch, cause == 6 ? "0" : latch, kNobody});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(LatchSet, StabNotifySystemKilled,
                         testing::ValuesIn(everyCauseWithEveryLatch()));

TEST_F(StabNotify, SystemKilledWritesTheWholeRecordForCause4) {
    dirtyStack();

    notify_stab_system_killed(4, 0x01020304);

    EXPECT_EQ(field("system_server", 40) + bytesOf("04 00 00 00  00 00 00 00") +
                  bytesOf("1f 00 00 00 00 00 00 00") + bytesOf("04 03 02 01") +
                  std::string(60, '\0') + std::string(8, '\0') +
                  bytesOf("01 00 00 00  00 00 00 00"),
              onlyRecord());
    EXPECT_EQ(bytesOf("08 04 12 0D 73 79 73 74 65 6D 5F 73 65 72 76 65 72 18 84 86 88 08"),
              onlyEventWithoutTime());
}

TEST_F(StabNotify, SystemKilledWritesTheWholeRecordForCause6) {
    dirtyStack();

    notify_stab_system_killed(6, -2);

    EXPECT_EQ(field("zygote", 40) + bytesOf("04 00 00 00  00 00 00 00") +
                  bytesOf("1f 00 00 00 00 00 00 00") + bytesOf("fe ff ff ff") +
                  std::string(60, '\0') + std::string(8, '\0') +
                  bytesOf("01 00 00 00  00 00 00 00"),
              onlyRecord());
    EXPECT_EQ(bytesOf("08 04 12 06 7A 79 67 6F 74 65 18 FE FF FF FF 0F"), onlyEventWithoutTime());
}

TEST_F(StabNotify, SystemKilledLatchesThenLogsThenTellsTheDriverThenReports) {
    std::vector<std::string> order;
    observeCalls([&](const std::string& call) {
        for (size_t i = driver_.drain().size(); i > 0; --i)
            order.push_back("record");
        order.push_back(call);
    });

    notify_stab_system_killed(4, 1);

    EXPECT_EQ((std::vector<std::string>{kReadLatch, "property_set sys.stab.system_killed 4",
                                        "log 4 notify_stab_system_killed notify type: 4", "record",
                                        "single_file_writes 36"}),
              order);
}

TEST_F(StabNotify, SystemKilledDoesNotWriteAnUnsetLatchForCause6) {
    notify_stab_system_killed(6, 1);

    EXPECT_EQ(
        (std::vector<std::string>{kReadLatch, "log 4 notify_stab_system_killed notify type: 6",
                                  "single_file_writes 36"}),
        calls());
}

TEST_F(StabNotify, SystemKilledOnlyLooksAtALatchThatIsSet) {
    setLatch("4");

    notify_stab_system_killed(4, 1);

    EXPECT_EQ((std::vector<std::string>{kReadLatch}), calls());
}

TEST_F(StabNotify, SystemKilledReportsCause4OnlyOnce) {
    notify_stab_system_killed(4, 1);
    notify_stab_system_killed(4, 2);

    EXPECT_EQ(1, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ(1u, events().size());
    EXPECT_EQ("4", latch());
}

TEST_F(StabNotify, SystemKilledReportsTheCurrentTime) {
    const int64_t before = nowMs();
    notify_stab_system_killed(6, 1);
    const int64_t after = nowMs();

    ASSERT_EQ(1u, events().size());
    EXPECT_LE(before, events().front().timeMs);
    EXPECT_GE(after, events().front().timeMs);
}

TEST_F(StabNotify, SystemKilledRefusesOtherCausesWithAnErrorLineAndNothingElse) {
    for (int cause : {0, 7, -1, 8, 256, 260, INT_MIN, INT_MAX}) {
        resetTrace();

        notify_stab_system_killed(cause, 1);

        EXPECT_EQ((std::vector<LogLine>{
                      {kError, "libwardline",
                       "notify_stab_system_killed invalid type: " + std::to_string(cause)}}),
                  logLines());
        EXPECT_EQ(1u, calls().size());
    }
    EXPECT_EQ(0u, driver_.drain().size());
    EXPECT_EQ(0u, events().size());
    EXPECT_EQ("(unset)", latch());
}

TEST_F(StabNotify, SystemKilledLatchesAndReportsWithoutADriver) {
    unlink(kDriverNode);

    notify_stab_system_killed(4, 1);

    EXPECT_EQ((std::vector<std::string>{kReadLatch, "property_set sys.stab.system_killed 4",
                                        "log 4 notify_stab_system_killed notify type: 4",
                                        "log 6 notify_stab_driver write bstabd driver error: 2",
                                        "single_file_writes 36"}),
              calls());
    EXPECT_EQ("4", latch());
}

TEST_F(StabNotify, SystemKilledLatchesEveryCauseWithoutADriver) {
    unlink(kDriverNode);
    for (int cause : {1, 2, 3, 5}) {
        setLatch("0");

        notify_stab_system_killed(cause, 1);

        EXPECT_EQ(std::to_string(cause), latch());
        EXPECT_EQ(std::vector<LogLine>(), logLines());
    }
}

TEST_F(StabNotify, SystemKilledReportsCause4AlsoWhenTheLatchIsRefused) {
    refuseProperties();

    notify_stab_system_killed(4, 0);

    EXPECT_EQ(0, DriverRecord(onlyRecord()).pid);
    EXPECT_EQ(bytesOf("08 04 12 0D 73 79 73 74 65 6D 5F 73 65 72 76 65 72 18 00"),
              onlyEventWithoutTime());
    EXPECT_EQ("(unset)", latch());
}

TEST_F(StabNotify, SystemKilledLetsTheLaterOfTwoSimultaneousReportersSetTheLatch) {
    reportBeforeLatchIsSet([] { notify_stab_ne("zygote", 1, 11, 1, ""); });

    notify_stab_system_killed(3, 1);

    EXPECT_EQ("3", latch());
    EXPECT_EQ(1u, events().size());
}

// The end of extra log collection, and the block-logo words.

TEST_F(StabNotify, ExtraLogFinishWritesTheWholeRecordAndNothingElse) {
    dirtyStack();

    notify_extra_log_finish(0x01020304);

    EXPECT_EQ(std::string(40, '\0') + bytesOf("0a 00 00 00  00 00 00 00") + std::string(8, '\0') +
                  bytesOf("04 03 02 01") + std::string(60, '\0') + std::string(8, '\0') +
                  bytesOf("01 00 00 00  00 00 00 00"),
              onlyRecord());
    EXPECT_EQ(std::vector<std::string>(), calls());
}

TEST_F(StabNotify, ExtraLogFinishTakesANegativePid) {
    notify_extra_log_finish(-1);

    EXPECT_EQ(-1, DriverRecord(onlyRecord()).pid);
}

TEST_F(StabNotify, ExtraLogFinishTakesPidZero) {
    notify_extra_log_finish(0);

    EXPECT_EQ(10u, DriverRecord(onlyRecord()).eventType);
}

TEST_F(StabNotify, BlockLogoWritesTwoWordsThenZerosAndNothingElse) {
    dirtyStack();

    notify_stab_block_logo(1, 2);

    EXPECT_EQ(bytesOf("01 00 00 00 02 00 00 00") + std::string(128, '\0'), onlyRecord());
    EXPECT_EQ(std::vector<std::string>(), calls());
}

TEST_F(StabNotify, BlockLogoPassesZeroWords) {
    notify_stab_block_logo(0, 0);

    EXPECT_EQ(std::string(136, '\0'), onlyRecord());
}

TEST_F(StabNotify, BlockLogoPassesAllBitsOfItsWords) {
    notify_stab_block_logo(-2, 0x01020304);

    EXPECT_EQ(bytesOf("fe ff ff ff 04 03 02 01") + std::string(128, '\0'), onlyRecord());
}

TEST_F(StabNotify, ExtraLogFinishAndBlockLogoLogOnlyADriverError) {
    unlink(kDriverNode);

    notify_extra_log_finish(1);
    notify_stab_block_logo(1, 2);

    const LogLine line = driverError(2).front();
    EXPECT_EQ((std::vector<LogLine>{line, line}), logLines());
    EXPECT_EQ(2u, calls().size());
}

}  // namespace
