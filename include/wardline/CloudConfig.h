/**
 * The monitoring configuration that a server delivers as one JSON file,
 *
 *     /data/syslog/settings/stab_cloud_config.json
 *
 * The library parses the file, watches it and hands it on; it does not act on it. A process takes
 * the current configuration and subscribes to later ones with one call:
 *
 *     std::mutex settingsLock;
 *     std::optional<android::__StabCloudConfig> settings;
 *
 *     void onChange(android::__StabCloudConfig& config) {
 *         const std::lock_guard lock(settingsLock);
 *         settings = config;  // A copy; then returns at once.
 *     }
 *
 *     void startMonitoring() {
 *         const auto config = android::getCloudConfig(onChange);
 *         const std::lock_guard lock(settingsLock);
 *         if (!settings) settings = config;  // Unless a change came first.
 *     }
 *
 * The file is one JSON object. All of its keys are optional, and others are ignored:
 *
 *     {
 *       "version": 7,
 *       "dmaMemInfoConfig": {"enable": true, "threshHold": 1048576, "interval": 60},
 *       "processesConfig": {
 *         "enable": true, "interval": 30,
 *         "processes": [{"name": "system_server", "description": "the framework"}]
 *       },
 *       "threadtrackConfig": {"options": {"depth": 5}}
 *     }
 *
 * What is deliberate about its content, and how to live with it:
 *  - the entries of "processes" accumulate: each parse appends the file's once more to those that
 *    are there, and a process that the file no longer names stays. Take each name once. Equal names
 *    are neighbours, in no particular order: which of several descriptions is the latest cannot be
 *    told. A subscriber that needs the file's own list clears the sequence each time that it has
 *    taken it, so that the next parse begins with none. What it gets first still has the entries of
 *    the parses before it, and later subscribers and copies see none;
 *  - options merge: one that the file no longer has stays. Deliver it with another value instead,
 *    an empty one for instance;
 *  - version 0, or none, never counts as loaded: each getCloudConfig() parses the file again then,
 *    and appends its processes again;
 *  - values are not checked, and nothing that the JSON library raises is caught: a file that is no
 *    JSON, or that has a value of a wrong type or range, ends every process that watches it.
 *
 * And for those who write the file:
 *  - only modifications are watched. Write into the file that is there: when another one is renamed
 *    over it, or when it is deleted, nobody hears of it. The first file is created and written; it
 *    is the write that is noticed. The directory must stay the same: when it is replaced, processes
 *    that watch it hear nothing more, and no line tells so;
 *  - each modification is parsed at once, so truncating the file first lets watchers read an empty
 *    one, which ends them. Replace the text in one write, without truncation, and fill it up with
 *    spaces where it is shorter than the old one. A read that overlaps a write may see parts of
 *    both: let each change be read before the next.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <wardline/Export.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace android {

// The layout of these records is part of the interface. What a key is converted to if it has
// another type is the JSON library's affair: a boolean counts as 1 or 0, a number other than zero
// as true, and a number or a boolean has its text as a string. A key that is absent or null gives
// 0, false or an empty string, also where an earlier parse had put something else.

/** Settings of the monitor of DMA memory. Units are agreed between server and subscriber. */
struct __DmaMemInfoConfig {
    bool enable = false;
    uint64_t threshHold = 0;  // Spelled like this in the file too.
    uint64_t interval = 0;
};

/** One process to monitor. */
struct __ProcessInfos {
    std::string name;         // Any bytes.
    std::string description;  // Any bytes.
    int32_t id = 0;           // -1 after a parse; then the subscribers'.
};

/** Settings of the monitor of single processes. */
struct __ProcessesConfig {
    bool enable = false;
    uint64_t interval = 0;
    // In bytewise order of their names after each parse; the order of equal names is not specified.
    // "processes" may also be an object, whose values count then; none are in a plain value.
    std::vector<__ProcessInfos> processes;
};

/** Options of the thread tracker, each with its value as text. */
struct __ThreadTrackConfig {
    std::map<std::string, std::string> options;
};

/** The whole configuration. A copy shares nothing with its source. */
struct __StabCloudConfig {
    uint32_t version = 0;  // 0 while none is loaded.
    __DmaMemInfoConfig dmaMemInfoConfig;
    __ProcessesConfig processesConfig;
    __ThreadTrackConfig threadtrackConfig;
};

#if defined(_LIBCPP_VERSION)
static_assert(sizeof(__ProcessInfos) == 56);
static_assert(sizeof(__ThreadTrackConfig) == 24);
static_assert(sizeof(__StabCloudConfig) == 96);
#elif defined(__GLIBCXX__)
static_assert(sizeof(__ProcessInfos) == 72);
static_assert(sizeof(__ThreadTrackConfig) == 48);
static_assert(sizeof(__StabCloudConfig) == 120);
#endif
static_assert(sizeof(__DmaMemInfoConfig) == 24);
static_assert(offsetof(__DmaMemInfoConfig, enable) == 0);
static_assert(offsetof(__DmaMemInfoConfig, threshHold) == 8);
static_assert(offsetof(__DmaMemInfoConfig, interval) == 16);
static_assert(offsetof(__ProcessInfos, name) == 0);
static_assert(offsetof(__ProcessInfos, description) == sizeof(std::string));
static_assert(offsetof(__ProcessInfos, id) == 2 * sizeof(std::string));
static_assert(sizeof(__ProcessesConfig) == 40);
static_assert(offsetof(__ProcessesConfig, enable) == 0);
static_assert(offsetof(__ProcessesConfig, interval) == 8);
static_assert(offsetof(__ProcessesConfig, processes) == 16);
// Compilers that a map keeps from being of standard layout warn, and give the offset all the same.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(__StabCloudConfig, version) == 0);
static_assert(offsetof(__StabCloudConfig, dmaMemInfoConfig) == 8);
static_assert(offsetof(__StabCloudConfig, processesConfig) == 32);
static_assert(offsetof(__StabCloudConfig, threadtrackConfig) == 72);
#pragma GCC diagnostic pop

/**
 * Returns a copy of the current configuration, and subscribes to later ones.
 *
 * @param callback  called after each modification of the file, with the library's own record; null
 *                  subscribes nobody. It is never taken off the list, and is called as often per
 *                  modification as it was given here; not by this call. The code must stay loaded.
 * @return          the configuration after the latest parse; all zero and empty while there was
 *                  none.
 *
 * Effects: the first call in a process starts the watcher, a detached thread that watches the
 * directory /data/syslog/settings until the process ends. It does not wait for the watch: a
 * modification until then, which the line "Successfully initialized inotify" tells, goes unnoticed.
 * The call parses the file while no configuration with a version other than 0 is loaded.
 *
 * A later configuration may be delivered before this call returns an older one: use the result only
 * if the callback has not been called.
 *
 * A callback runs on the watcher's thread, one at a time and in the order of registration, with the
 * locks held that guard the configuration and the list of callbacks. Deliberate:
 *  - while it runs every getCloudConfig() of the process waits. Copy what you need, and return;
 *  - it must not call getCloudConfig(), nor wait for a thread that does: that would never return,
 *    and no later getCloudConfig() either. The record is in its argument;
 *  - the record is the shared one. What a callback changes is what later callbacks and copies see,
 *    until the next parse overwrites it; processes and options that it adds or removes stay so;
 *  - a modification is parsed and delivered once for each event that is read. Events that are not
 *    read yet merge when they are the same, so a callback may see a configuration twice, or only
 *    the latest of several.
 * It is called also when the file could not be opened, with the record as it was. What it throws
 * ends the process.
 *
 * The watcher ends, and is not started again by this call, when one of the E lines below tells so;
 * from then on nothing is delivered, and this call returns what was parsed last. So before the
 * first call, make sure that the directory exists and a descriptor is free, and block the signals
 * that the process handles without SA_RESTART: the watcher's thread keeps the signal mask of its
 * starter.
 *
 * The watcher's descriptor is open over exec. The child of a fork has no watcher, though its first
 * call counts as made, and its calls wait for ever if a change was being handled at the fork: let
 * the first call come after it. Do not unload the library after the first call. At exit the
 * configuration is destroyed while the watcher runs on, deliberately: a process that may be
 * handling a change then leaves by quick_exit() or _exit().
 *
 * Lines:
 *
 *     I Successfully initialized inotify for file: /data/syslog/settings
 *         the watch is in place
 *     E Failed to open file: %s, %s
 *         no configuration file, or not a readable one; the configuration stays as it was
 *     E Failed to initialize inotify: %s
 *         no descriptor or no instance was left; there is no watcher
 *     E Failed to add watch for file: /data/syslog/settings
 *         the directory does not exist, for instance; there is no watcher
 *     E Failed to read from inotify: %s
 *         a signal interrupted the watcher, for instance; it has ended
 *
 * Errors: what the JSON library does about a malformed file passes through. On an image it ends the
 * process, with at most a line on standard error. Where it was built with exceptions it raises a
 * Json::Exception: nobody is subscribed then, the configuration is filled up to the faulty place,
 * and the next call works once the file is repaired; on the watcher's thread the exception ends the
 * process. If only this library is built without exceptions, one that passes through leaves the
 * configuration locked, and later calls wait for ever. A thread that cannot be created raises
 * std::system_error through the caller, and the next call tries again. Where memory is short
 * std::bad_alloc is raised.
 *
 * Threads: any number at once; the first call is waited for by all. Not in a signal handler.
 */
WARDLINE_EXPORT __StabCloudConfig getCloudConfig(void (*callback)(__StabCloudConfig&));

/**
 * Starts one more watcher. Deliberate: it does not look whether one runs. getCloudConfig() starts
 * the watcher by itself, so after it a process has two, and each modification is parsed and
 * delivered twice. Its one use is to start another watcher when an E line has told that the watcher
 * ended, and the cause is gone.
 *
 * Effects: a detached thread that lives as long as getCloudConfig() tells of the watcher.
 *
 * Errors: a thread that cannot be created raises std::system_error through the caller.
 *
 * Threads: any number at once; takes no lock.
 */
WARDLINE_EXPORT void startCloudConfigListenerThread();

/**
 * Makes getCloudConfig() start the watcher once. Not to be used otherwise: where it was spent by
 * std::call_once() there is no watcher.
 */
WARDLINE_EXPORT extern std::once_flag flag;

}  // namespace android
