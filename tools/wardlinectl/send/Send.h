#pragma once

#include <stdint.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

// Reports and notifications. Each command calls the library, or prints what that would send, and
// returns the program's exit code.

struct StabReport {
    int type = 0;
    int pid = 0;
    std::string process;
    unsigned long timeMs = 0;  // 0 means now.
    std::map<std::string, std::string> data;
    bool isFile = false;  // By reportStabEventDirect.
};
int reportStab(const StabReport& report, bool isDryRun);

struct LockTimeoutReport {
    std::string name, timestamp;
    unsigned long waitTime = 0, owner = 0;
    std::string ownerDesc, object, extra1, extra2;
};
int reportLockTimeout(const LockTimeoutReport& report, bool isDryRun);

/** Keys, types and values, as texts. */
using MemFigures = std::vector<std::tuple<std::string, std::string, std::string>>;
int reportMem(const MemFigures& figures, bool isDryRun);

struct Crash {
    std::string process;
    int pid = 0, signal = 0, code = 0;
    std::string detail;
};
int notifyCrash(const Crash& crash, bool isDryRun);
int notifyKilled(int type, int pid, bool isDryRun);
int notifyLogFinish(int pid, bool isDryRun);
int notifyBlockLogo(int word0, int word1, bool isDryRun);
