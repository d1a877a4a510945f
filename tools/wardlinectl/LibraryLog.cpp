#include "LibraryLog.h"

#include <android/log.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>

#include "ExitCode.h"
#include "Terminal.h"

namespace {

constexpr char kPriorities[] = "??VDIWEFS";
// At ERROR, deliberately, though it tells of success.
constexpr std::string_view kSuccess = "et size: ";
constexpr std::string_view kWatcherEnds[] = {
    "Failed to initialize inotify: ", "Failed to add watch for file: ",
    "Failed to read from inotify: "};

std::atomic<bool> hasFailed = false;
std::atomic<bool> endsWithWatcher = false;

bool tellsOfWatcherEnd(std::string_view message) {
    return std::ranges::any_of(kWatcherEnds,
                               [&](std::string_view end) { return message.starts_with(end); });
}

void showLine(const __android_logger_data* data, const char* message) {
    const bool isFailure =
        data->priority >= ANDROID_LOG_ERROR && !std::string_view(message).starts_with(kSuccess);
    const std::string priority(1, kPriorities[data->priority]);
    fflush(stdout);
    fprintf(stderr, "%s %s: %s\n",
            isFailure ? painted(stderr, Colour::kError, priority).c_str() : priority.c_str(),
            data->tag, message);
    if (isFailure) hasFailed = true;
    if (endsWithWatcher && tellsOfWatcherEnd(message)) _exit(kBadData);
}

}  // namespace

void showLibraryLog() {
    __android_log_set_logger(showLine);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

void showLibraryFailures() {
    __android_log_set_minimum_priority(ANDROID_LOG_ERROR);
}

bool hasLibraryFailed() {
    return hasFailed;
}

void endWithWatcher() {
    endsWithWatcher = true;
}
