// android::reportStabEventDirect: when it files an event, under which name, with which content and
// mode, and what it leaves when that fails.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wardline/StabEventReport.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "proto/wardline_records.pb.h"
#include "support/Allocations.h"
#include "support/Errors.h"
#include "support/FixedClock.h"
#include "support/Meanwhile.h"
#include "support/MonitorTest.h"
#include "support/ResourceLimit.h"
#include "support/WireBytes.h"

namespace {

namespace fs = std::filesystem;

using android::reportStabEvent;
using android::reportStabEventDirect;
using Calls = std::vector<std::string>;
using Data = std::map<std::string, std::string>;
using Names = std::set<std::string>;

constexpr char kTrain[] = "persist.sys.trainstarttime";
constexpr char kOta[] = "ro.os.ota.version";
constexpr unsigned long kTimeMs = 1700000000123;

// What reportAt(kTimeMs) files where no property is set.
const std::string kName = ".train_stabevent_1.00_-_--_202311142213_1700000000123";
const std::string kPath = "/data/syslog/monitor/stabevent/" + kName;
const std::string kRecord = "08 02 12 02 61 62 18 AC 02 20 FB D0 95 FF BC 31";

void reportAt(unsigned long timeMs) {
    reportStabEventDirect(2, 300, "ab", timeMs, nullptr);
}

class ReportStabEventDirect : public MonitorTest {
  protected:
    /** Does something after the directory was made and before the file is opened. */
    static void beforeOpening(std::function<void()> action) {
        observeCalls([action](const std::string& call) {
            if (call.starts_with("fopen")) action();
        });
    }

    static std::vector<LogLine> refusal() {
        return {{6, "libwardline", "reportStabEventDirect can not createMonitorPath"}};
    }
};

TEST_F(ReportStabEventDirect, FilesTheFirstEvent) {
    reportAt(kTimeMs);

    EXPECT_EQ(Names{kName}, files());
    EXPECT_EQ(bytesOf(kRecord), contentOf(kPath));
}

TEST_F(ReportStabEventDirect, MakesDirectoryAndFileForEverybodyWhateverTheUmask) {
    for (const mode_t mask : {0U, 0022U, 0077U, 0777U}) {
        umask(mask);

        reportAt(kTimeMs);

        EXPECT_EQ(0777, modeOf(kDirectory)) << "umask " << mask;
        EXPECT_EQ(0777, modeOf(kPath)) << "umask " << mask;
        EXPECT_EQ(mask, currentUmask());
        fs::remove_all(kDirectory);
    }
}

TEST_F(ReportStabEventDirect, GoesItsStepsInOrder) {
    const FixedClock clock({.tv_sec = 1700000000, .tv_usec = 123999});

    reportAt(0);

    EXPECT_EQ((Calls{"stat /data/syslog/monitor/stabevent", "umask 0",
                     "mkdir /data/syslog/monitor/stabevent 777", "umask 77", "gettimeofday",
                     "localtime", "GetProperty persist.sys.trainstarttime default --",
                     "GetProperty ro.os.ota.version default -", "fopen " + kPath + " wb",
                     "chmod " + kPath + " 777"}),
              calls());
}

TEST_F(ReportStabEventDirect, OnlyLogsTheSecondEvent) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});
    reportAt(kTimeMs);
    resetTrace();

    reportAt(0);

    EXPECT_EQ(refusal(), logLines());
    EXPECT_EQ((Calls{"stat /data/syslog/monitor/stabevent", "umask 0",
                     "mkdir /data/syslog/monitor/stabevent 777", "umask 77",
                     "log 6 reportStabEventDirect can not createMonitorPath"}),
              calls());
    EXPECT_EQ(Names{kName}, files());
    EXPECT_EQ(bytesOf(kRecord), contentOf(kPath));
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(ReportStabEventDirect, FilesAgainAfterTheDirectoryWasRemoved) {
    reportAt(kTimeMs);
    fs::remove_all(kDirectory);

    reportAt(60000);

    EXPECT_EQ(Names{".train_stabevent_1.00_-_--_197001010001_60000"}, files());
}

// The name.

struct Naming {
    const char* what;
    std::string ota;
    std::string train;
    const char* zone;
    unsigned long timeMs;
    std::string name;
};

void PrintTo(const Naming& naming, std::ostream* out) {
    *out << naming.what;
}

class ReportStabEventDirectNamed : public ReportStabEventDirect,
                                   public testing::WithParamInterface<Naming> {};

TEST_P(ReportStabEventDirectNamed, PutsVersionTrainDateAndTimeIntoTheName) {
    setProperty(kOta, GetParam().ota);
    setProperty(kTrain, GetParam().train);
    zone_.set(GetParam().zone);

    reportAt(GetParam().timeMs);

    EXPECT_EQ(Names{GetParam().name}, files());
}

const Naming kNamings[] = {
    {"both", "V1", "T1", "UTC0", kTimeMs, ".train_stabevent_1.00_V1_T1_202311142213_1700000000123"},
    {"no train", "V1", "", "UTC0", kTimeMs,
     ".train_stabevent_1.00_V1_--_202311142213_1700000000123"},
    {"no version", "", "T1", "UTC0", kTimeMs,
     ".train_stabevent_1.00_-_T1_202311142213_1700000000123"},
    {"neither", "", "", "UTC0", kTimeMs, ".train_stabevent_1.00_-_--_202311142213_1700000000123"},
    {"underscores", "V_1_", "_T_1", "UTC0", kTimeMs,
     ".train_stabevent_1.00_V_1___T_1_202311142213_1700000000123"},
    {"other characters", "%s %", "\t*", "UTC0", kTimeMs,
     ".train_stabevent_1.00_%s %_\t*_202311142213_1700000000123"},
    {"a long version", std::string(150, 'v'), "T", "UTC0", 1,
     ".train_stabevent_1.00_" + std::string(150, 'v') + "_T_197001010000_1"},
    {"another zone", "V", "T", "<+0545>-5:45", kTimeMs,
     ".train_stabevent_1.00_V_T_202311150358_1700000000123"},
    {"daylight saving", "V", "T", "CET-1CEST,M3.5.0,M10.5.0/3", 1729987200000,
     ".train_stabevent_1.00_V_T_202410270200_1729987200000"},
    {"the last ms of a minute", "V", "T", "UTC0", 59999,
     ".train_stabevent_1.00_V_T_197001010000_59999"},
    {"the year 10000", "V", "T", "UTC0", 253402300800000,
     ".train_stabevent_1.00_V_T_1000001010000_253402300800000"},
    {"the greatest time", "V", "T", "UTC0", std::numeric_limits<unsigned long>::max(),
     ".train_stabevent_1.00_V_T_58455601904031425_18446744073709551615"},
};

INSTANTIATE_TEST_SUITE_P(Named, ReportStabEventDirectNamed, testing::ValuesIn(kNamings));

TEST_F(ReportStabEventDirect, ReadsThePropertiesAnewForEveryName) {
    reportAt(60000);
    fs::remove_all(kDirectory);
    setProperty(kOta, "V1");
    setProperty(kTrain, "T1");
    reportAt(60000);
    EXPECT_EQ(Names{".train_stabevent_1.00_V1_T1_197001010001_60000"}, files());

    fs::remove_all(kDirectory);
    setProperty(kTrain, "T2");
    reportAt(60000);
    EXPECT_EQ(Names{".train_stabevent_1.00_V1_T2_197001010001_60000"}, files());
}

TEST_F(ReportStabEventDirect, FilesIntoAFolderThatTheVersionNames) {
    setProperty(kOta, "a/b_c");
    beforeOpening([] { mkdir("/data/syslog/monitor/stabevent/.train_stabevent_1.00_a", 0777); });

    reportAt(kTimeMs);

    EXPECT_EQ(Names{".train_stabevent_1.00_a/b_c_--_202311142213_1700000000123"}, files());
}

TEST_F(ReportStabEventDirect, FilesIntoAFolderThatTheTrainStartTimeNames) {
    setProperty(kTrain, "12/30");
    beforeOpening([] { mkdir("/data/syslog/monitor/stabevent/.train_stabevent_1.00_-_12", 0777); });

    reportAt(kTimeMs);

    EXPECT_EQ(Names{".train_stabevent_1.00_-_12/30_202311142213_1700000000123"}, files());
}

TEST_F(ReportStabEventDirect, DatesFileAndRecordWithTheSameCurrentTime) {
    const int64_t before = nowMs();
    reportAt(0);
    const int64_t after = nowMs();

    ASSERT_EQ(1u, files().size());
    const std::string name = *files().begin();
    const int64_t timeMs = std::stoll(name.substr(name.rfind('_') + 1));
    EXPECT_LE(before, timeMs);
    EXPECT_GE(after, timeMs);
    StabEvent event;
    EXPECT_TRUE(event.ParseFromString(contentOf(std::string(kDirectory) + "/" + name)));
    EXPECT_EQ(static_cast<uint64_t>(timeMs), event.timestamp_ms());
}

TEST_F(ReportStabEventDirect, ReadsTheClockOnlyForTimeZero) {
    const FixedClock clock({.tv_sec = 1, .tv_usec = 0});

    reportAt(kTimeMs);
    EXPECT_EQ(0, clock.readings());

    fs::remove_all(kDirectory);
    reportAt(0);
    EXPECT_EQ(1, clock.readings());
}

// The content.

TEST_F(ReportStabEventDirect, FilesTheBytesThatReportStabEventSends) {
    const Data data = {{"key", "value"}};
    const Data none;
    const std::string odd = std::string("n\0m\xff", 4);
    const std::vector<std::function<void(decltype(reportStabEvent)&)>> reports = {
        [&](auto& report) { report(2, 300, "ab", 1, nullptr); },
        [&](auto& report) { report(0, 0, "", 1, &none); },
        [&](auto& report) {
            report(-2, -1, odd, std::numeric_limits<unsigned long>::max(), &data);
        },
        [&](auto& report) { report(4, 1, std::string(100'000, 'x'), kTimeMs, &data); },
    };
    for (const auto& report : reports) {
        report(reportStabEvent);
        report(reportStabEventDirect);

        ASSERT_EQ(1u, files().size());
        EXPECT_EQ(events().back().payload,
                  contentOf(std::string(kDirectory) + "/" + *files().begin()));
        fs::remove_all(kDirectory);
    }
}

TEST_F(ReportStabEventDirect, WritesAllFourFieldsAlsoWhenTheyAreZeroOrEmpty) {
    reportStabEventDirect(0, 0, "", 1, nullptr);

    EXPECT_EQ(bytesOf("08 00 12 00 18 00 20 01"),
              contentOf(std::string(kDirectory) + "/.train_stabevent_1.00_-_--_197001010000_1"));
}

TEST_F(ReportStabEventDirect, WritesEveryMapEntry) {
    const Data data = {{"a", "1"}, {"b", ""}, {"", "c"}};

    reportStabEventDirect(2, 300, "ab", kTimeMs, &data);

    StabEvent event;
    EXPECT_TRUE(event.ParseFromString(contentOf(kPath)));
    EXPECT_EQ(data, Data(event.data().begin(), event.data().end()));
}

TEST_F(ReportStabEventDirect, SendsNothingToTheEventBuffer) {
    reportAt(kTimeMs);

    EXPECT_EQ(0u, events().size());
}

TEST_F(ReportStabEventDirect, TruncatesAnExistingFileAndDoesNotReplaceIt) {
    const std::string other = std::string(kDirectory) + "/other name of the file";
    observeCalls([&](const std::string& call) {
        if (!call.starts_with("GetProperty ro.")) return;
        writeContent(kPath, std::string(1000, 'x'));
        fs::create_hard_link(kPath, other);
    });

    reportAt(kTimeMs);

    EXPECT_EQ(bytesOf(kRecord), contentOf(kPath));
    EXPECT_EQ(bytesOf(kRecord), contentOf(other));
}

// The file's mode, and what has been done when it is set.

TEST_F(ReportStabEventDirect, CreatesTheFileUnderTheUmask) {
    for (const mode_t mask : {0U, 0027U, 0077U}) {
        umask(mask);
        int mode = -1;
        observeCalls([&](const std::string& call) {
            if (call.starts_with("chmod")) mode = modeOf(kPath);
        });

        reportAt(kTimeMs);

        EXPECT_EQ(static_cast<int>(0666 & ~mask), mode);
        fs::remove_all(kDirectory);
    }
}

TEST_F(ReportStabEventDirect, ClosesTheWholeFileBeforeItSetsTheMode) {
    std::string content;
    int descriptors = -1;
    observeCalls([&](const std::string& call) {
        if (!call.starts_with("chmod")) return;
        content = contentOf(kPath);
        descriptors = openDescriptorsTo(kPath);
    });

    reportAt(kTimeMs);

    EXPECT_EQ(bytesOf(kRecord), content);
    EXPECT_EQ(0, descriptors);
}

TEST_F(ReportStabEventDirect, SetsTheModeOfAFileThatItCannotOpen) {
    beforeOpening([] { mkdir(kPath.c_str(), 0700); });

    reportAt(kTimeMs);

    EXPECT_EQ(0777, modeOf(kPath));
    EXPECT_TRUE(fs::is_directory(kPath));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(ReportStabEventDirect, SetsTheModeWhenThereIsNoDescriptorLeft) {
    std::optional<ResourceLimit> limit;
    beforeOpening([&] {
        writeContent(kPath, "old");
        limit.emplace(RLIMIT_NOFILE, 0);
    });

    reportAt(kTimeMs);

    limit.reset();
    EXPECT_EQ("old", contentOf(kPath));
    EXPECT_EQ(0777, modeOf(kPath));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

// Failures.

TEST_F(ReportStabEventDirect, FilesNothingWhereTheVersionNamesAMissingFolder) {
    setProperty(kOta, "a/b");

    reportAt(kTimeMs);

    EXPECT_EQ(Names(), files());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0777, modeOf(kDirectory));
}

TEST_F(ReportStabEventDirect, FilesNothingWhenTheNameIsTooLong) {
    setProperty(kOta, std::string(300, 'v'));

    reportAt(kTimeMs);

    EXPECT_EQ(Names(), files());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(ReportStabEventDirect, FilesNothingInAnUnwritableDirectory) {
    const WithoutOverride ordinary;
    beforeOpening([] { chmod(kDirectory, 0555); });

    reportAt(kTimeMs);

    EXPECT_EQ(Names(), files());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(ReportStabEventDirect, LeavesAShortFileWhenItMayNotGrow) {
    signal(SIGXFSZ, SIG_IGN);
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 10);
        reportAt(kTimeMs);
    }
    signal(SIGXFSZ, SIG_DFL);

    EXPECT_EQ(bytesOf(kRecord).substr(0, 10), contentOf(kPath));
    EXPECT_EQ(0777, modeOf(kPath));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(ReportStabEventDirect, GoesOnSilentlyWhenAFileHasTheDirectorysPath) {
    writeContent(kDirectory, "content");
    chmod(kDirectory, 0600);

    reportAt(kTimeMs);

    EXPECT_EQ((Calls{"stat /data/syslog/monitor/stabevent", "localtime",
                     "GetProperty persist.sys.trainstarttime default --",
                     "GetProperty ro.os.ota.version default -", "fopen " + kPath + " wb",
                     "chmod " + kPath + " 777"}),
              calls());
    EXPECT_EQ("content", contentOf(kDirectory));
    EXPECT_EQ(0600, modeOf(kDirectory));
}

TEST_F(ReportStabEventDirect, OnlyLogsWhereADanglingLinkHasTheDirectorysPath) {
    fs::create_symlink("missing", kDirectory);

    reportAt(kTimeMs);

    EXPECT_EQ(refusal(), logLines());
    EXPECT_FALSE(fs::exists("/data/syslog/monitor/missing"));
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(ReportStabEventDirect, OnlyLogsWhereALinkLeadsToADirectory) {
    fs::create_directory("/data/syslog/monitor/directory");
    fs::create_symlink("directory", kDirectory);

    reportAt(kTimeMs);

    EXPECT_EQ(refusal(), logLines());
    EXPECT_EQ(Names(), files());
}

TEST_F(ReportStabEventDirect, OnlyLogsWithoutTheParent) {
    rmdir(kParent);

    reportAt(kTimeMs);

    EXPECT_EQ(refusal(), logLines());
    EXPECT_FALSE(fs::exists(kParent));
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(ReportStabEventDirect, OnlyLogsInAnUnwritableParent) {
    const WithoutOverride ordinary;
    chmod(kParent, 0555);

    reportAt(kTimeMs);

    EXPECT_EQ(refusal(), logLines());
    EXPECT_EQ(0077u, currentUmask());
    chmod(kParent, 0755);
}

// Memory.

TEST_F(ReportStabEventDirect, CopiesTheRecordIntoABufferOfExactlyItsLength) {
    const std::string name(1000, 'n');
    const int recordSize = 2 + 3 + 1000 + 3 + 7;
    int held = -1;
    Allocations allocations;
    observeCalls([&](const std::string& call) {
        if (call.starts_with("fopen")) held = allocations.heldOfSize(recordSize);
    });

    reportStabEventDirect(2, 300, name, kTimeMs, nullptr);

    EXPECT_EQ(1, held);
    EXPECT_EQ(recordSize, static_cast<int>(contentOf(kPath).size()));
}

TEST_F(ReportStabEventDirect, LeavesNothingAllocated) {
    const Data data = {{"key", std::string(100, 'v')}};
    const std::string name(100, 'n');
    reportStabEventDirect(2, 300, "", 1, nullptr);  // Whatever is allocated once, is now.
    fs::remove_all(kDirectory);
    resetTrace();
    Allocations allocations;

    reportStabEventDirect(2, 300, name, 1, &data);

    resetTrace();  // Forgets the notes that were taken meanwhile.
    EXPECT_EQ(0, allocations.held());
}

TEST_F(ReportStabEventDirect, LetsAFailedAllocationThrough) {
    Allocations allocations;

    EXPECT_ERROR(
        {
            allocations.fail(16);  // The record's length.
            reportAt(kTimeMs);
        },
        std::bad_alloc);

    EXPECT_EQ(Names(), files());
    EXPECT_EQ(0077u, currentUmask());
}

// Threads.

TEST_F(ReportStabEventDirect, DoesNotWaitForAnotherReport) {
    for (const char* step : {"mkdir", "fopen"}) {
        bool isFirst = true;
        observeCalls([&](const std::string& call) {
            if (!call.starts_with(step) || !std::exchange(isFirst, false)) return;
            doMeanwhile([] { reportAt(60000); });
        });

        reportAt(kTimeMs);

        EXPECT_EQ(1u, files().size()) << "meanwhile at " << step;
        EXPECT_EQ(refusal(), logLines()) << "meanwhile at " << step;
        resetTrace();
        fs::remove_all(kDirectory);
    }
}

TEST_F(ReportStabEventDirect, FilesOneOfEightEventsAtOnce) {
    std::vector<std::thread> threads;
    for (unsigned long i = 1; i <= 8; ++i)
        threads.emplace_back(reportAt, i);
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(1u, files().size());
    EXPECT_EQ(7u, logLines().size());
}

}  // namespace
