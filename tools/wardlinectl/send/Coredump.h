#pragma once

#include <optional>
#include <string>

/** What needCoredump would do for a process. */
struct CoredumpForecast {
    std::optional<int> policyWord;
    std::string problem;  // Why there is no policy word.
    std::string latchName;
    std::string latch;       // The latch property's value.
    bool isDecided = false;  // The kernel's switch is written.
    bool isAllowed = false;
    bool setsLatch = false;
};

/** Looks at the kernel's policy and at the latch of the process, and changes neither. */
CoredumpForecast forecastCoredump(const std::string& process);

struct CoredumpOptions {
    std::string process;
    bool applies = false;
    bool isJson = false;
};

/** Prints what needCoredump would decide, and has it decide if wanted. Returns the exit code. */
int showCoredump(const CoredumpOptions& options);
