#include "config/HeldConfig.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Text.h"
#include "see/JsonWriter.h"

namespace {

using android::__StabCloudConfig;
using Lines = std::vector<std::string>;
using Process = std::pair<std::string, std::string>;

const char* enabled(bool isEnabled) {
    return isEnabled ? "enabled" : "disabled";
}

const char* word(bool value) {
    return value ? "true" : "false";
}

/** Names and descriptions, in an order that entries of equal names have too. */
std::vector<Process> processesOf(const __StabCloudConfig& config) {
    std::vector<Process> processes;
    for (const android::__ProcessInfos& process : config.processesConfig.processes)
        processes.emplace_back(process.name, process.description);
    std::ranges::sort(processes);
    return processes;
}

void compare(const char* name, const std::string& before, const std::string& after, Lines* lines) {
    if (before != after)
        lines->push_back(std::string("~ ") + name + ": " + before + " -> " + after);
}

/** Processes that are in one configuration and not, or not so often, in the other one. */
void listMissing(char sign, const __StabCloudConfig& in, const __StabCloudConfig& from,
                 Lines* lines) {
    std::vector<Process> missing;
    std::ranges::set_difference(processesOf(in), processesOf(from), std::back_inserter(missing));
    for (const auto& [name, description] : missing)
        lines->push_back(sign + (" process " + inQuotes(name)) + ": " + inQuotes(description));
}

void compareOptions(const __StabCloudConfig& before, const __StabCloudConfig& after, Lines* lines) {
    const auto& old = before.threadtrackConfig.options;
    for (const auto& [name, value] : after.threadtrackConfig.options) {
        const auto found = old.find(name);
        if (found == old.end()) {
            lines->push_back("+ option " + inQuotes(name) + " = " + inQuotes(value));
        } else {
            compare(("option " + inQuotes(name)).c_str(), inQuotes(found->second), inQuotes(value),
                    lines);
        }
    }
    for (const auto& [name, value] : old) {
        if (!after.threadtrackConfig.options.contains(name))
            lines->push_back("- option " + inQuotes(name) + " = " + inQuotes(value));
    }
}

}  // namespace

void printConfig(const __StabCloudConfig& config) {
    const auto& dma = config.dmaMemInfoConfig;
    const auto& processes = config.processesConfig;
    const auto& options = config.threadtrackConfig.options;
    printRow("version", std::to_string(config.version));
    printRow("dmaMemInfo", enabled(dma.enable) +
                               (", threshHold " + std::to_string(dma.threshHold)) + ", interval " +
                               std::to_string(dma.interval));
    printRow("processes",
             enabled(processes.enable) + (", interval " + std::to_string(processes.interval)));
    for (const auto& [name, description] : processesOf(config))
        printPair("process", name, ": ", description, "");
    for (const auto& [name, value] : options)
        printPair("option", name, " = ", value, "");
    printRow("", std::to_string(processes.processes.size()) +
                     (processes.processes.size() == 1 ? " process entry, " : " process entries, ") +
                     counted(options.size(), "option"));
}

Json::Value configAsJson(const __StabCloudConfig& config) {
    Json::Value object;
    object["version"] = config.version;
    Json::Value& dma = object["dmaMemInfoConfig"];
    dma["enable"] = config.dmaMemInfoConfig.enable;
    dma["threshHold"] = Json::UInt64(config.dmaMemInfoConfig.threshHold);
    dma["interval"] = Json::UInt64(config.dmaMemInfoConfig.interval);
    Json::Value& processes = object["processesConfig"];
    processes["enable"] = config.processesConfig.enable;
    processes["interval"] = Json::UInt64(config.processesConfig.interval);
    processes["processes"] = Json::arrayValue;
    for (const auto& [name, description] : processesOf(config)) {
        Json::Value& process = processes["processes"].append(Json::objectValue);
        setBytes(process, "name", name);
        setBytes(process, "description", description);
    }
    Json::Value& options = object["threadtrackConfig"]["options"] = Json::objectValue;
    for (const auto& [name, value] : config.threadtrackConfig.options)
        setBytes(options, name, value);
    return object;
}

Lines differences(const __StabCloudConfig& before, const __StabCloudConfig& after) {
    Lines lines;
    const auto number = [](uint64_t value) { return std::to_string(value); };
    compare("version", number(before.version), number(after.version), &lines);
    const auto& dma = before.dmaMemInfoConfig;
    const auto& newDma = after.dmaMemInfoConfig;
    compare("dmaMemInfoConfig.enable", word(dma.enable), word(newDma.enable), &lines);
    compare("dmaMemInfoConfig.threshHold", number(dma.threshHold), number(newDma.threshHold),
            &lines);
    compare("dmaMemInfoConfig.interval", number(dma.interval), number(newDma.interval), &lines);
    const auto& processes = before.processesConfig;
    const auto& newProcesses = after.processesConfig;
    compare("processesConfig.enable", word(processes.enable), word(newProcesses.enable), &lines);
    compare("processesConfig.interval", number(processes.interval), number(newProcesses.interval),
            &lines);
    listMissing('+', after, before, &lines);
    listMissing('-', before, after, &lines);
    compareOptions(before, after, &lines);
    return lines;
}
