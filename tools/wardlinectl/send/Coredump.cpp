#include "send/Coredump.h"

#include <cutils/properties.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wardline/Coredump.h>

#include <algorithm>

#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "Text.h"
#include "see/JsonWriter.h"

namespace {

constexpr char kPolicyNode[] = "/proc/sys/kernel/coredump_trim_flag";
constexpr char kLatchPrefix[] = "dumpstate.coredump.";
constexpr int kModeMask = 3;
constexpr int kModeOncePerName = 1;
constexpr int kVeto = 0x1000;

void readPolicy(CoredumpForecast* forecast) {
    FILE* const node = fopen(kPolicyNode, "re");
    if (node == nullptr) {
        forecast->problem = std::string(kPolicyNode) + ": " + strerror(errno);
        return;
    }
    int word = 0;
    if (fscanf(node, "%d", &word) == 1) {
        forecast->policyWord = word;
    } else {
        forecast->problem = std::string(kPolicyNode) + " holds no number";
    }
    fclose(node);
}

const char* policyText(int word) {
    if ((word & kVeto) != 0) return "no core dumps, by the veto";
    switch (word & kModeMask) {
        case 0:
            return "no core dumps";
        case kModeOncePerName:
            return "one core dump for each name";
        default:
            return "a core dump for each crash";
    }
}

const char* verdict(bool isAllowed) {
    return isAllowed ? "allowed" : "refused";
}

void printForecast(const CoredumpForecast& forecast) {
    if (forecast.policyWord) {
        printRow("policy word",
                 std::to_string(*forecast.policyWord) + ": " + policyText(*forecast.policyWord));
    } else {
        printRow("policy word", "none: " + forecast.problem);
    }
    printText("latch", "", forecast.latchName);
    printRow("", forecast.latch.empty() ? "is unset" : "is " + inQuotes(forecast.latch));
    std::string decision = verdict(forecast.isAllowed);
    if (forecast.setsLatch) decision += "; it would use up the latch";
    if (!forecast.isDecided) decision += "; the kernel's switch would stay as it is";
    printRow("decision", decision);
}

Json::Value asJson(const CoredumpForecast& forecast) {
    Json::Value object;
    if (forecast.policyWord) object["policy_word"] = *forecast.policyWord;
    setBytes(object, "latch_name", forecast.latchName);
    setBytes(object, "latch", forecast.latch);
    object["allowed"] = forecast.isAllowed;
    object["sets_latch"] = forecast.setsLatch;
    object["writes_switch"] = forecast.isDecided;
    return object;
}

}  // namespace

CoredumpForecast forecastCoredump(const std::string& process) {
    CoredumpForecast forecast;
    readPolicy(&forecast);
    forecast.latchName = kLatchPrefix + process;
    std::ranges::replace(forecast.latchName, '/', '-');
    char latch[PROPERTY_VALUE_MAX] = {};
    property_get(forecast.latchName.c_str(), latch, "");
    forecast.latch = latch;
    if (!forecast.policyWord) return forecast;

    const int mode = *forecast.policyWord & kModeMask;
    forecast.isDecided = mode != 0 && (*forecast.policyWord & kVeto) == 0;
    forecast.setsLatch = forecast.isDecided && mode == kModeOncePerName && atoi(latch) == 0;
    forecast.isAllowed = forecast.isDecided && (mode != kModeOncePerName || forecast.setsLatch);
    return forecast;
}

int showCoredump(const CoredumpOptions& options) {
    const CoredumpForecast forecast = forecastCoredump(options.process);
    std::optional<bool> result;
    if (options.applies) result = android::needCoredump(options.process.c_str());
    if (options.isJson) {
        Json::Value object = asJson(forecast);
        setBytes(object, "process", options.process);
        if (result) object["result"] = *result;
        printJson(object);
    } else {
        printForecast(forecast);
        if (result) printRow("result", verdict(*result));
    }
    if (forecast.policyWord) return kDone;
    complain(forecast.problem);
    return kBadData;
}
