#include "PlatformTrace.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include "internal/SysEventsBuffer.h"

namespace {

struct Trace {
    std::mutex mutex;
    std::condition_variable callNoted;
    std::vector<LogLine> lines;
    std::vector<std::string> calls;
    std::map<std::string, pid_t> callers;
    std::function<void(const std::string&)> observer;
    std::function<void(const std::string&)> returnObserver;
    std::string propertyBuffer;
    std::optional<std::pair<std::string, bool>> fileAnswer;
    std::atomic<const void*> lastPayload = nullptr;
};

Trace& trace() {
    static Trace* const trace = new Trace;  // Outlives whatever still reports at exit.
    return *trace;
}

/** True while a platform function of ours is at work: what it calls itself is not the library's. */
thread_local bool inside = false;

void noteReturn(const std::string& call) {
    std::function<void(const std::string&)> observer;
    {
        const std::lock_guard lock(trace().mutex);
        observer = trace().returnObserver;
    }
    if (observer) observer(call);
}

/** Notes a call of a function of ours and passes it on to the library that would have got it. */
template <typename Function, typename... Arguments>
auto passOn(Function& ours, const std::string& call, Arguments&&... arguments) {
    Dl_info symbol = {};
    dladdr(reinterpret_cast<void*>(&ours), &symbol);
    const auto next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol.dli_sname));
    if (inside) return next(arguments...);
    noteCall(call);
    inside = true;
    const auto result = next(arguments...);
    inside = false;
    noteReturn(call);
    return result;
}

std::string format(const char* pattern, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    std::string text(static_cast<size_t>(vsnprintf(nullptr, 0, pattern, copy)) + 1, '\0');
    va_end(copy);
    vsnprintf(text.data(), text.size(), pattern, arguments);
    text.pop_back();
    return text;
}

}  // namespace

void noteCall(const std::string& call) {
    std::function<void(const std::string&)> observer;
    {
        const std::lock_guard lock(trace().mutex);
        trace().calls.push_back(call);
        trace().callers[call] = gettid();
        observer = trace().observer;
    }
    trace().callNoted.notify_all();
    if (observer) observer(call);
}

bool isOfLibrary(const void* code) {
    Dl_info info = {};
    return dladdr(code, &info) != 0 &&
           std::string_view(info.dli_fname).find("libwardline.so") != std::string_view::npos;
}

void PrintTo(const LogLine& line, std::ostream* out) {
    *out << line.priority << ' ' << line.tag << ": " << line.text;
}

void resetTrace() {
    const std::lock_guard lock(trace().mutex);
    trace().lines.clear();
    trace().calls.clear();
    trace().callers.clear();
    trace().observer = nullptr;
    trace().returnObserver = nullptr;
    trace().fileAnswer.reset();
}

std::vector<LogLine> logLines() {
    const std::lock_guard lock(trace().mutex);
    return trace().lines;
}

std::vector<std::string> calls() {
    const std::lock_guard lock(trace().mutex);
    return trace().calls;
}

bool awaitCall(const std::string& call, int count) {
    std::unique_lock lock(trace().mutex);
    return trace().callNoted.wait_for(lock, std::chrono::seconds(30), [&] {
        return std::ranges::count(trace().calls, call) >= count;
    });
}

pid_t callerOf(const std::string& call) {
    const std::lock_guard lock(trace().mutex);
    const auto caller = trace().callers.find(call);
    return caller == trace().callers.end() ? 0 : caller->second;
}

void observeCalls(std::function<void(const std::string&)> observer) {
    const std::lock_guard lock(trace().mutex);
    trace().observer = std::move(observer);
}

void observeReturns(std::function<void(const std::string&)> observer) {
    const std::lock_guard lock(trace().mutex);
    trace().returnObserver = std::move(observer);
}

std::string propertyBuffer() {
    const std::lock_guard lock(trace().mutex);
    return trace().propertyBuffer;
}

void answerFileReads(const std::string& content, bool result) {
    const std::lock_guard lock(trace().mutex);
    trace().fileAnswer = {content, result};
}

const void* lastPayloadPointer() {
    return trace().lastPayload;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const LogLine line = {prio, tag, format(fmt, arguments)};
    va_end(arguments);
    {
        const std::lock_guard lock(trace().mutex);
        trace().lines.push_back(line);
    }
    noteCall("log " + std::to_string(prio) + " " + line.text);
    return 1;
}

int property_get(const char* key, char* value, const char* default_value) {
    if (!inside) {
        const std::lock_guard lock(trace().mutex);
        trace().propertyBuffer.assign(value, PROPERTY_VALUE_MAX);
    }
    return passOn(property_get, std::string("property_get ") + key + " default " + default_value,
                  key, value, default_value);
}

int32_t property_get_int32(const char* key, int32_t default_value) {
    return passOn(
        property_get_int32,
        std::string("property_get_int32 ") + key + " default " + std::to_string(default_value), key,
        default_value);
}

int property_set(const char* key, const char* value) {
    return passOn(property_set, std::string("property_set ") + key + " " + value, key, value);
}

std::string android::base::GetProperty(const std::string& key, const std::string& default_value) {
    return passOn(android::base::GetProperty, "GetProperty " + key + " default " + default_value,
                  key, default_value);
}

bool android::base::ReadFileToString(const std::string& path, std::string* content,
                                     bool follow_symlinks) {
    const std::string call =
        "ReadFileToString " + path + (follow_symlinks ? " following links" : "");
    std::optional<std::pair<std::string, bool>> answer;
    {
        const std::lock_guard lock(trace().mutex);
        answer = trace().fileAnswer;
    }
    if (!answer.has_value()) {
        return passOn(android::base::ReadFileToString, call, path, content, follow_symlinks);
    }
    noteCall(call);
    *content = answer->first;
    return answer->second;
}

int __android_sysevents_buf_writes(long timeMs, int eventId, const unsigned char* payload,
                                   int payloadLength) {
    trace().lastPayload = payload;
    return passOn(__android_sysevents_buf_writes, "writes " + std::to_string(eventId), timeMs,
                  eventId, payload, payloadLength);
}

int __android_sysevents_buf_single_file_writes(long timeMs, int eventId,
                                               const unsigned char* payload, int payloadLength) {
    trace().lastPayload = payload;
    return passOn(__android_sysevents_buf_single_file_writes,
                  "single_file_writes " + std::to_string(eventId), timeMs, eventId, payload,
                  payloadLength);
}
