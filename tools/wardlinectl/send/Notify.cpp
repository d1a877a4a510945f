#include <cutils/properties.h>
#include <signal.h>
#include <string.h>
#include <wardline/StabNotify.h>

#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "see/Kinds.h"
#include "send/Coredump.h"
#include "send/DryRun.h"
#include "send/Send.h"

namespace {

constexpr char kKilledLatch[] = "sys.stab.system_killed";
constexpr uint64_t kCrashFlags = 0x3611f;
constexpr uint64_t kFlagKernelAbort = UINT64_C(1) << 10;
constexpr uint64_t kFlagCoredump = UINT64_C(1) << 15;
constexpr uint64_t kFlagSegmentationFault = UINT64_C(1) << 33;
constexpr uint64_t kKilledFlags = 0x1f;

template <size_t kSize>
void copyText(const std::string& text, char (&field)[kSize]) {
    text.copy(field, kSize - 1);
}

stab_notify_record recordOf(uint32_t eventType, int pid) {
    stab_notify_record record = {};
    record.event_type = eventType;
    record.pid = pid;
    record.kind = 1;
    return record;
}

uint64_t crashFlags(const Crash& crash, bool allowsCoredump) {
    constexpr int kCodeOfKernel = 128;
    uint64_t flags = kCrashFlags;
    if (crash.signal == SIGABRT && crash.code == kCodeOfKernel &&
        crash.process.find("system_server") != std::string::npos)
        flags |= kFlagKernelAbort;
    if (allowsCoredump) flags |= kFlagCoredump;
    if (crash.signal == SIGSEGV) flags |= kFlagSegmentationFault;
    return flags;
}

void printCrashLatch(const std::string& process) {
    if (property_get_int32(kKilledLatch, 0) != 0) return;
    if (process.starts_with("system_server")) return printSetting(kKilledLatch, "2");
    if (process.starts_with("zygote")) printSetting(kKilledLatch, "5");
}

void printCrash(const Crash& crash) {
    const CoredumpForecast coredump = forecastCoredump(crash.process);
    if (coredump.setsLatch) printSetting(coredump.latchName, "1");
    if (coredump.isDecided)
        printSetting("/proc/sys/kernel/coredump_disable", coredump.isAllowed ? "0" : "1");
    stab_notify_record record = recordOf(2, crash.pid);
    record.flags = crashFlags(crash, coredump.isAllowed);
    copyText(crash.process, record.process_name);
    copyText(crash.detail, record.detail);
    printDriverRecord(record);
    printEvent(kStabEventId, stabEvent(2, crash.pid, crash.process, 0, {}));
    printCrashLatch(crash.process);
}

void printKilledRecords(const std::string& name, int pid) {
    stab_notify_record record = recordOf(4, pid);
    record.flags = kKilledFlags;
    copyText(name, record.process_name);
    printDriverRecord(record);
    printEvent(kStabEventId, stabEvent(4, pid, name, 0, {}));
}

/** Returns the exit code. */
int printKilled(int type, int pid) {
    if (type < 1 || type > 6) {
        complain("cause " + std::to_string(type) + " is not one of 1 to 6: nothing is sent");
        return kBadData;
    }
    const int latch = property_get_int32(kKilledLatch, 0);
    const bool isClearing = type == 6;
    const bool isSent = latch == 0 && (type == 4 || isClearing);
    printf("the latch %s is %s\n", kKilledLatch,
           latch == 0 ? "unset" : std::to_string(latch).c_str());
    if (latch != 0 && isClearing) printSetting(kKilledLatch, "0");
    if (latch == 0 && !isClearing) printSetting(kKilledLatch, std::to_string(type));
    if (isSent) printKilledRecords(isClearing ? "zygote" : "system_server", pid);
    if (!isSent) puts("nothing is sent");
    return kDone;
}

int outcome() {
    return hasLibraryFailed() ? kBadData : kDone;
}

}  // namespace

int notifyCrash(const Crash& crash, bool isDryRun) {
    if (isDryRun) {
        printCrash(crash);
        return kDone;
    }
    notify_stab_ne(crash.process.c_str(), crash.pid, crash.signal, crash.code,
                   crash.detail.c_str());
    return outcome();
}

int notifyKilled(int type, int pid, bool isDryRun) {
    if (isDryRun) return printKilled(type, pid);
    notify_stab_system_killed(type, pid);
    return outcome();
}

int notifyLogFinish(int pid, bool isDryRun) {
    if (isDryRun) {
        printDriverRecord(recordOf(10, pid));
        return kDone;
    }
    notify_extra_log_finish(pid);
    return outcome();
}

int notifyBlockLogo(int word0, int word1, bool isDryRun) {
    if (isDryRun) {
        const int words[] = {word0, word1};
        stab_notify_record record = {};
        memcpy(&record, words, sizeof(words));
        printDriverRecord(record);
        return kDone;
    }
    notify_stab_block_logo(word0, word1);
    return outcome();
}
