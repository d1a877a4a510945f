#include <android-base/properties.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/StabEventReport.h>
#include <wardline/Timestamp.h>

#include <filesystem>

#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "proto/wardline_records.pb.h"
#include "see/Kinds.h"
#include "send/DryRun.h"
#include "send/Send.h"

namespace {

constexpr char kMonitorDirectory[] = "/data/syslog/monitor/stabevent";

int outcome() {
    return hasLibraryFailed() ? kBadData : kDone;
}

std::string eventFileName(uint64_t timeMs) {
    using android::base::GetProperty;
    return std::string(kMonitorDirectory) + "/.train_stabevent_1.00_" +
           GetProperty("ro.os.ota.version", "-") + '_' +
           GetProperty("persist.sys.trainstarttime", "--") + '_' +
           android::millisecondsToDatetime(timeMs) + '_' + std::to_string(timeMs);
}

/** Why a file would not be written, as the call would make its directory. */
std::string findFileProblem() {
    struct stat status = {};
    if (stat(kMonitorDirectory, &status) == 0)
        return S_ISDIR(status.st_mode) ? "is there already" : "is no directory";
    return access(std::filesystem::path(kMonitorDirectory).parent_path().c_str(), W_OK) == 0
               ? ""
               : "cannot be made";
}

int printStab(const StabReport& report) {
    const unsigned long timeMs =
        report.timeMs == 0 ? static_cast<unsigned long>(android::getTimestamp()) : report.timeMs;
    const std::string record =
        stabEvent(report.type, report.pid, report.process, timeMs, report.data);
    if (!report.isFile) {
        printEvent(kStabEventId, record);
        return kDone;
    }
    const std::string problem = findFileProblem();
    if (problem.empty()) {
        printEventFile(eventFileName(timeMs), record);
        return kDone;
    }
    complain(std::string(kMonitorDirectory) + ' ' + problem + ": nothing is written");
    return kBadData;
}

}  // namespace

int reportStab(const StabReport& report, bool isDryRun) {
    if (isDryRun) return printStab(report);
    const auto send = report.isFile ? android::reportStabEventDirect : android::reportStabEvent;
    send(report.type, report.pid, report.process, report.timeMs, &report.data);
    return outcome();
}

int reportLockTimeout(const LockTimeoutReport& report, bool isDryRun) {
    if (!isDryRun) {
        android::reportArtLockTimeout(report.name, report.timestamp, report.waitTime, report.owner,
                                      report.ownerDesc, report.object, report.extra1,
                                      report.extra2);
        return outcome();
    }
    ArtLockTimeoutData data;
    ArtLockTimeout& timeout = *data.add_timeouts();
    timeout.set_name(report.name);
    timeout.set_timestamp(report.timestamp);
    timeout.set_wait_time(report.waitTime);
    timeout.set_owner(report.owner);
    timeout.set_owner_desc(report.ownerDesc);
    timeout.set_object(report.object);
    timeout.set_extra1(report.extra1);
    timeout.set_extra2(report.extra2);
    printEvent(kLockTimeoutId, data.SerializeAsString());
    return kDone;
}
