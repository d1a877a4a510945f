// Subscribes to the cloud configuration, and prints the one that it finds and each one that is
// delivered:
//
//     config_subscriber [CHANGES]    ends after that many changes, or else when it is interrupted

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <wardline/CloudConfig.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

namespace {

/** Hands configurations from the library's thread to the one that works with them. */
class Inbox {
  public:
    void put(const android::__StabCloudConfig& config) {
        const std::lock_guard lock(mutex_);
        configs_.push_back(config);
        arrived_.notify_one();
    }

    android::__StabCloudConfig take() {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return !configs_.empty(); });
        android::__StabCloudConfig config = configs_.front();
        configs_.pop_front();
        return config;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<android::__StabCloudConfig> configs_;
};

Inbox& inbox() {
    static Inbox inbox;
    return inbox;
}

/** Copies and returns: as long as this runs, getCloudConfig() waits in every thread. */
void onChange(android::__StabCloudConfig& config) {
    inbox().put(config);
}

const char* onOrOff(bool enabled) {
    return enabled ? "on" : "off";
}

void print(const android::__StabCloudConfig& config) {
    const auto& dma = config.dmaMemInfoConfig;
    const auto& processes = config.processesConfig;
    printf("configuration, version %" PRIu32 "\n", config.version);
    printf("  DMA memory    %s, threshold %" PRIu64 ", interval %" PRIu64 "\n", onOrOff(dma.enable),
           dma.threshHold, dma.interval);
    printf("  processes     %s, interval %" PRIu64 "\n", onOrOff(processes.enable),
           processes.interval);
    for (const auto& process : processes.processes) {
        printf("  process       %s%s%s\n", process.name.c_str(),
               process.description.empty() ? "" : ": ", process.description.c_str());
    }
    for (const auto& [name, value] : config.threadtrackConfig.options)
        printf("  option        %s = %s\n", name.c_str(), value.c_str());
    printf("  %zu process entries, %zu options\n", processes.processes.size(),
           config.threadtrackConfig.options.size());
    fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    char* end = nullptr;
    const long changes = argc == 2 ? strtol(argv[1], &end, 10) : -1;
    if (argc > 2 || (argc == 2 && (*end != '\0' || changes < 1))) {
        fprintf(stderr, "usage: config_subscriber [CHANGES]\n");
        return 2;
    }
    print(android::getCloudConfig(onChange));
    for (long i = 0; i != changes; ++i)
        print(inbox().take());
    quick_exit(EXIT_SUCCESS);  // Destroys nothing that the library's thread still uses.
}
