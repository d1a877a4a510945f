#include "config/KnownKeys.h"

#include <ctype.h>

#include <algorithm>
#include <numeric>
#include <string_view>
#include <vector>

namespace {

// "[]" stands for any element.
constexpr std::string_view kKnownKeys[] = {"version",
                                           "dmaMemInfoConfig",
                                           "dmaMemInfoConfig.enable",
                                           "dmaMemInfoConfig.threshHold",
                                           "dmaMemInfoConfig.interval",
                                           "processesConfig",
                                           "processesConfig.enable",
                                           "processesConfig.interval",
                                           "processesConfig.processes",
                                           "processesConfig.processes[].name",
                                           "processesConfig.processes[].description",
                                           "threadtrackConfig",
                                           "threadtrackConfig.options"};

// The objects whose keys are looked up; other objects' keys are data.
constexpr std::string_view kObjects[] = {"", "dmaMemInfoConfig", "processesConfig",
                                         "processesConfig.processes[]", "threadtrackConfig"};

/** The path with "[]" for each element. */
std::string withoutIndices(const std::string& path) {
    std::string result;
    bool isIndex = false;
    for (char c : path) {
        isIndex = isIndex && c != ']';
        if (!isIndex) result += c;
        isIndex = isIndex || c == '[';
    }
    return result;
}

std::string_view parentOf(std::string_view path) {
    const size_t dot = path.rfind('.');
    return dot == std::string_view::npos ? "" : path.substr(0, dot);
}

std::string_view keyOf(std::string_view path) {
    return path.substr(path.rfind('.') + 1);
}

/** Levenshtein's distance, blind to case. */
size_t distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (char c : a) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (tolower(c) == tolower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::optional<std::string> findNearestKey(const std::string& parent, const std::string& key) {
    const std::string object = withoutIndices(parent);
    if (std::ranges::find(kObjects, object) == std::end(kObjects)) return {};
    const auto rank = [&](std::string_view known) {
        return std::pair(distance(keyOf(known), key), parentOf(known) != object);
    };
    const std::string_view nearest = *std::ranges::min_element(kKnownKeys, {}, rank);
    const bool isNeighbour = parentOf(nearest) == object;
    if (keyOf(nearest) == key && isNeighbour) return {};
    return std::string(isNeighbour ? keyOf(nearest) : nearest);
}
