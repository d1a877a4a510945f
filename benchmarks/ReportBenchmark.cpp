// What a report costs its caller, beside a floor: the same record filled and serialised by the
// generated code alone. The platform's end is not measured: this program takes payloads and log lines
// and drops them.

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/DeviceInfo.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/StabEventReport.h>

#include <map>
#include <string>

#include "internal/SysEventsBuffer.h"
#include "proto/wardline_records.pb.h"

int __android_sysevents_buf_writes(long, int, const unsigned char* payload, int) {
    benchmark::DoNotOptimize(payload);
    benchmark::ClobberMemory();
    return 0;
}

int __android_sysevents_buf_single_file_writes(long timeMs, int eventId,
                                               const unsigned char* payload, int payloadLength) {
    return __android_sysevents_buf_writes(timeMs, eventId, payload, payloadLength);
}

int __android_log_print(int, const char*, const char* format, ...) {
    benchmark::DoNotOptimize(format);
    return 1;
}

namespace {

const std::string kName = "/vendor/bin/hw/a.service";

/** Adds numbers of pairs to be reported: few, and as many as a large sample has. */
void pairCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1)->Arg(64);
}

std::map<std::string, std::string> attributes(benchmark::State& state) {
    std::map<std::string, std::string> attributes;
    for (int64_t i = 0; i < state.range(0); ++i)
        attributes["key" + std::to_string(i)] = kName;
    return attributes;
}

void StabEventFloor(benchmark::State& state) {
    const auto data = attributes(state);
    for ([[maybe_unused]] auto _ : state) {
        StabEvent event;
        event.set_event_type(2);
        event.set_pid(300);
        event.set_process_name(kName);
        event.set_timestamp_ms(1'700'000'000'123);
        for (const auto& [key, value] : data)
            (*event.mutable_data())[key] = value;
        benchmark::DoNotOptimize(event.SerializeAsString());
    }
}
BENCHMARK(StabEventFloor)->Apply(pairCounts);

void ReportStabEvent(benchmark::State& state) {
    const auto data = attributes(state);
    for ([[maybe_unused]] auto _ : state)
        android::reportStabEvent(2, 300, kName, 1'700'000'000'123, &data);
}
BENCHMARK(ReportStabEvent)->Apply(pairCounts);

void ArtLockTimeoutFloor(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        ArtLockTimeoutData data;
        ArtLockTimeout& timeout = *data.add_timeouts();
        timeout.set_name(kName);
        timeout.set_timestamp(kName);
        timeout.set_wait_time(5000);
        timeout.set_owner(17);
        timeout.set_owner_desc(kName);
        timeout.set_object(kName);
        timeout.set_extra1(kName);
        timeout.set_extra2(kName);
        benchmark::DoNotOptimize(data.SerializeAsString());
    }
}
BENCHMARK(ArtLockTimeoutFloor);

void ReportArtLockTimeout(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        android::reportArtLockTimeout(kName, kName, 5000, 17, kName, kName, kName, kName);
}
BENCHMARK(ReportArtLockTimeout);

void MemMonitorEventFloor(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        MemMonitorEvent event;
        for (int64_t i = 0; i < state.range(0); ++i) {
            event.add_kvs()->set_key(kName);
            event.add_kvs()->set_uint64_value(static_cast<uint64_t>(i));
        }
        event.set_timestamp_ms(1'700'000'000'123);
        event.set_uptime_ms(1'000'123);
        event.set_brand(kName);
        benchmark::DoNotOptimize(event.SerializePartialAsString());
    }
}
BENCHMARK(MemMonitorEventFloor)->Apply(pairCounts);

void ReportMemMonitorEvent(benchmark::State& state) {
    android::cachedDeviceInfo.brand = kName;
    android::isDeviceInfoCached = true;
    android::MemKVPairArray sample;
    for (int64_t i = 0; i < state.range(0); ++i)
        sample.addUint64(kName, static_cast<uint64_t>(i));
    for ([[maybe_unused]] auto _ : state)
        android::reportMemMonitorEvent(sample.data(), sample.size());
}
BENCHMARK(ReportMemMonitorEvent)->Apply(pairCounts);

}  // namespace

BENCHMARK_MAIN();
