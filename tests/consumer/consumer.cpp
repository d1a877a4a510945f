// Uses everything that the library exports, from a program that hides its own symbols.

#include <google/protobuf/arena.h>
#include <stdlib.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/CloudConfig.h>
#include <wardline/Cmdline.h>
#include <wardline/Coredump.h>
#include <wardline/DeviceInfo.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/MonitorPath.h>
#include <wardline/StabEventReport.h>
#include <wardline/StabNotify.h>
#include <wardline/Timestamp.h>

#include "proto/wardline_records.pb.h"

namespace {

using Text = const std::string&;
using Report = void(int, int, Text, unsigned long, const std::map<std::string, std::string>*);

void callEveryFunction() {
    bool (*const decide)(const char*) = android::needCoredump;
    Report* const report = android::reportStabEvent;
    Report* const reportDirect = android::reportStabEventDirect;
    void (*const reportLock)(Text, Text, unsigned long, unsigned long, Text, Text, Text, Text) =
        android::reportArtLockTimeout;
    int64_t (*const timestamp)() = android::getTimestamp;
    std::string (*const datetime)(unsigned long) = android::millisecondsToDatetime;
    std::string (*const cmdline)() = android::getCmdline;
    bool (*const makePath)() = android::createMonitorPath;
    bool (*const setValue)(android::__MemKVPair*, long, ...) = android::setMemKVPairValue;
    void (*const reportMem)(android::__MemKVPair*, unsigned long) = android::reportMemMonitorEvent;
    android::__StabCloudConfig (*const getConfig)(void (*)(android::__StabCloudConfig&)) =
        android::getCloudConfig;
    void (*const startWatcher)() = android::startCloudConfigListenerThread;

    decide("consumer");
    report(2, 1, "consumer", 0, nullptr);
    reportDirect(2, 1, cmdline(), 0, nullptr);
    reportLock("lock", datetime(static_cast<unsigned long>(timestamp())), 1, 2, "", "", "", "");
    makePath();
    android::__MemKVPair pair{};
    setValue(&pair, android::MEM_KV_TYPE_INT64, int64_t{1234});
    reportMem(&pair, android::isDeviceInfoCached ? 1 : 0);
    android::MemKVPairArray sample;
    sample.addString("brand", android::cachedDeviceInfo.brand);
    reportMem(sample.data(), sample.size());
    notify_extra_log_finish(1);
    startWatcher();
    getConfig([](android::__StabCloudConfig& config) { config.processesConfig.processes.clear(); });
    std::call_once(android::flag, [] { abort(); });
}

}  // namespace

int main() {
    callEveryFunction();

    google::protobuf::Arena arena;
    StabEvent* const event = google::protobuf::Arena::CreateMessage<StabEvent>(&arena);
    (*event->mutable_data())["key"] = "value";
    StabEvent copy(*event);
    copy.MergeFrom(StabEvent::default_instance());
    ArtLockTimeoutData* const data =
        google::protobuf::Arena::CreateMessage<ArtLockTimeoutData>(&arena);
    data->add_timeouts()->set_name("name");
    SMemMonitorEvent* const samples =
        google::protobuf::Arena::CreateMessage<SMemMonitorEvent>(&arena);
    samples->add_events()->add_kvs()->set_key("key");
    StabEvent parsed;
    return parsed.ParseFromString(copy.SerializeAsString()) && parsed.data().at("key") == "value"
               ? 0
               : 1;
}
