// The cloud configuration: read from its file, watched, and handed to those who subscribed.

#include <errno.h>
#include <json/json.h>
#include <string.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string_view>
#include <thread>

#include "internal/Log.h"
#include "internal/ScopedFd.h"
#include "wardline/CloudConfig.h"

// State. It goes in the reverse order at exit; the watcher may still sleep then.

namespace {

android::__StabCloudConfig cloudConfig;
// Guards cloudConfig and loadedVersion. Where both locks are held, this one was taken first.
std::mutex cloudConfigMutex;

}  // namespace

std::once_flag android::flag;

namespace {

std::vector<void (*)(android::__StabCloudConfig&)> cloudConfigCallbacks;  // None is null.
std::mutex callbacksMutex;  // Guards cloudConfigCallbacks.

// The version after the latest parse, whatever callbacks did to the record since; 0 while no
// configuration is loaded.
uint32_t loadedVersion = 0;

constexpr char kSettingsDirectory[] = "/data/syslog/settings";
constexpr std::string_view kConfigName = "stab_cloud_config.json";
constexpr char kConfigPath[] = "/data/syslog/settings/stab_cloud_config.json";

}  // namespace

// Parsing. What the JSON library raises on a malformed file passes through, deliberately.

namespace android {

/** Deliberate: the file's processes are added to those of earlier parses. */
static void from_json(const Json::Value& value, __ProcessesConfig& config) {
    config.enable = value["enable"].asBool();
    config.interval = value["interval"].asUInt64();
    for (const Json::Value& process : value["processes"]) {
        config.processes.push_back(
            {process["name"].asString(), process["description"].asString(), -1});
    }
    // By way of a heap: std::ranges::sort takes four times the code of these two.
    std::ranges::make_heap(config.processes, {}, &__ProcessInfos::name);
    std::ranges::sort_heap(config.processes, {}, &__ProcessInfos::name);
}

}  // namespace android

namespace {

void parseCloudConfig(const char* path, android::__StabCloudConfig& config) {
    std::ifstream file(path, std::ios::in | std::ios::binary);
    if (!file.is_open()) {
        ALOGE("Failed to open file: %s, %s", path, strerror(errno));
        return;
    }
    Json::Value document;
    file >> document;

    const Json::Value& root = document;  // A lookup must not add a key.
    config.version = root["version"].asUInt();
    const Json::Value& dmaMemInfo = root["dmaMemInfoConfig"];
    config.dmaMemInfoConfig.enable = dmaMemInfo["enable"].asBool();
    config.dmaMemInfoConfig.threshHold = dmaMemInfo["threshHold"].asUInt64();
    config.dmaMemInfoConfig.interval = dmaMemInfo["interval"].asUInt64();
    from_json(root["processesConfig"], config.processesConfig);
    // Deliberate: options of earlier parses stay.
    const Json::Value& options = root["threadtrackConfig"]["options"];
    for (const std::string& name : options.getMemberNames())
        config.threadtrackConfig.options[name] = options[name].asString();
}

/** The caller holds cloudConfigMutex. */
void loadCloudConfig() {
    parseCloudConfig(kConfigPath, cloudConfig);
    loadedVersion = cloudConfig.version;
}

}  // namespace

// Watching.

namespace {

/** Deliberate: callbacks get the record itself, and run with both locks held. */
void deliverChange() {
    const std::lock_guard configLock(cloudConfigMutex);
    loadCloudConfig();
    const std::lock_guard callbacksLock(callbacksMutex);
    for (const auto callback : cloudConfigCallbacks)
        callback(cloudConfig);
}

/** Handles events until a read fails. */
void handleEvents(int inotify) {
    char buffer[1024] = {};
    ssize_t size = 0;
    while ((size = read(inotify, buffer, sizeof(buffer) - 1)) >= 0) {
        buffer[size] = '\0';
        for (ssize_t offset = 0; offset < size;) {
            inotify_event event;  // Copied, whatever its alignment.
            memcpy(&event, buffer + offset, sizeof(event));
            const char* const name = buffer + offset + sizeof(event);
            if (event.len > 0 && name == kConfigName) deliverChange();
            offset += static_cast<ssize_t>(sizeof(event) + event.len);
        }
    }
}

void startCloudConfigListener() {
    // Deliberate: open over exec.
    const ScopedFd inotify(inotify_init());
    if (!inotify.valid()) {
        ALOGE("Failed to initialize inotify: %s", strerror(errno));
        return;
    }
    // Modifications alone: a file that is renamed over the old one goes unnoticed, deliberately.
    if (inotify_add_watch(inotify.get(), kSettingsDirectory, IN_MODIFY) < 0) {
        ALOGE("Failed to add watch for file: %s", kSettingsDirectory);
        return;
    }
    ALOGI("Successfully initialized inotify for file: %s", kSettingsDirectory);
    handleEvents(inotify.get());
    // Deliberate: also an interrupted read ends the watcher.
    ALOGE("Failed to read from inotify: %s", strerror(errno));
}

}  // namespace

void android::startCloudConfigListenerThread() {
    std::thread(startCloudConfigListener).detach();
}

// Subscribing.

android::__StabCloudConfig android::getCloudConfig(void (*callback)(__StabCloudConfig&)) {
    std::call_once(flag, startCloudConfigListenerThread);
    {
        const std::lock_guard lock(cloudConfigMutex);
        if (loadedVersion == 0) loadCloudConfig();
    }
    if (callback != nullptr) {
        const std::lock_guard lock(callbacksMutex);
        cloudConfigCallbacks.push_back(callback);
    }
    const std::lock_guard lock(cloudConfigMutex);
    return cloudConfig;
}
