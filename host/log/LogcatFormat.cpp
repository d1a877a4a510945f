// Linked to a program, makes liblog print as logcat does on a device:
//
//     month-day hour:minute:second.millisecond  pid  tid priority tag: text

#include <android/log.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr char kPriorities[] = "??VDIWEFS";

void printLine(const __android_logger_data* data, const char* message) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts = {};
    localtime_r(&now.tv_sec, &parts);
    char date[32];
    strftime(date, sizeof(date), "%m-%d %H:%M:%S", &parts);
    fprintf(stderr, "%s.%03ld %5d %5d %c %s: %s\n", date, now.tv_nsec / 1'000'000, getpid(),
            gettid(), kPriorities[data->priority], data->tag, message);
}

[[gnu::constructor]] void useLogcatFormat() {
    __android_log_set_logger(printLine);
    // Off a device liblog would drop what is below INFO.
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

}  // namespace
