// Reports a sample of memory figures: those of the running system, and of this very process.
//
//     mem_sample
//
// The library does not tell whether the report arrived; its log does, and the event buffer.

#include <stdint.h>
#include <stdio.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kSystemFigures[] = {"MemTotal", "MemFree", "MemAvailable", "SwapTotal",
                                               "SwapFree"};
constexpr std::string_view kProcessFigures[] = {"VmSize", "VmRSS", "VmData", "VmSwap"};

/** Adds the named lines of a kernel file that has lines like "MemTotal:  16314004 kB". */
void addFigures(android::MemKVPairArray& sample, const char* path, const auto& names) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        uint64_t sizeKb = 0;
        std::string unit;
        if (!std::getline(words, name, ':') || !(words >> sizeKb >> unit) || unit != "kB") continue;
        if (std::ranges::find(names, name) == std::end(names)) continue;
        printf("%s = %ju kB\n", name.c_str(), static_cast<uintmax_t>(sizeKb));
        sample.addUint64(name, sizeKb);
    }
}

}  // namespace

int main(int, char** argv) {
    android::MemKVPairArray sample;
    addFigures(sample, "/proc/meminfo", kSystemFigures);
    sample.addString("Name", std::filesystem::path(argv[0]).filename());
    addFigures(sample, "/proc/self/status", kProcessFigures);
    fflush(stdout);  // Before the library's log lines.
    android::reportMemMonitorEvent(sample.data(), sample.size());
    return 0;
}
