#include "config/ConfigCheck.h"

#include <json/reader.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>

#include "Text.h"
#include "config/KnownKeys.h"

namespace {

constexpr size_t kLongestShownValue = 40;

enum class Wanted { kUint32, kUint64, kBool, kText };

/** Whether a real number is in the range of the library's conversion, which rounds its limits. */
bool isInRange(double value, double largest) {
    return value >= 0 && value <= largest;
}

bool isConverted(const Json::Value& value, Wanted wanted) {
    if (value.isNull() || value.isBool()) return true;
    if (value.isArray() || value.isObject()) return false;
    if (wanted == Wanted::kText) return true;
    if (value.isString()) return false;
    if (wanted == Wanted::kBool) return true;
    const bool isReal = value.type() == Json::realValue;
    if (wanted == Wanted::kUint32)
        return isReal ? isInRange(value.asDouble(), UINT32_MAX) : value.isUInt();
    return isReal ? isInRange(value.asDouble(), static_cast<double>(UINT64_MAX)) : value.isUInt64();
}

const char* describe(Wanted wanted) {
    switch (wanted) {
        case Wanted::kUint32:
            return "a number from 0 to 4294967295";
        case Wanted::kUint64:
            return "a number from 0 to 18446744073709551615";
        case Wanted::kBool:
            return "true or false";
        case Wanted::kText:
            return "a text";
    }
    return "";
}

const char* typeName(const Json::Value& value) {
    switch (value.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return "a boolean";
        case Json::stringValue:
            return "a text";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
        default:
            return "a number";
    }
}

/** Looks at each value where the library does, in the library's way. */
class Checker {
  public:
    Checker(std::string_view text, ConfigCheck* check)
        : text_(text),
          lines_(text),
          start_(text.starts_with("\xef\xbb\xbf") ? 3 : 0),
          check_(check) {}

    void checkDocument() {
        const Json::Value& root = check_->document;
        if (!isObject(root, "")) return;
        checkVersion(root["version"]);
        checkDmaMemInfo(root["dmaMemInfoConfig"]);
        checkProcessesConfig(root["processesConfig"]);
        checkThreadtrack(root["threadtrackConfig"]);
        for (const JsonMember& member : listMembers(text_))
            checkMember(member);
        checkEnd();
    }

  private:
    /** Whether members can be looked up in a value. */
    bool isObject(const Json::Value& value, const std::string& path) {
        if (value.isObject() || value.isNull()) return true;
        fail(path, value, std::string("is ") + typeName(value) + ", and must be an object");
        return false;
    }

    void checkVersion(const Json::Value& version) {
        if (!checkValue(version, "version", Wanted::kUint32) || version.asUInt() != 0) return;
        if (version.isNull()) {
            warnAt({}, "version", "is missing, which counts as 0: the file never counts as loaded");
        } else {
            warn("version", version, "is 0: the file never counts as loaded");
        }
    }

    void checkDmaMemInfo(const Json::Value& config) {
        if (!isObject(config, "dmaMemInfoConfig")) return;
        checkValue(config["enable"], "dmaMemInfoConfig.enable", Wanted::kBool);
        checkValue(config["threshHold"], "dmaMemInfoConfig.threshHold", Wanted::kUint64);
        checkValue(config["interval"], "dmaMemInfoConfig.interval", Wanted::kUint64);
    }

    void checkProcessesConfig(const Json::Value& config) {
        if (!isObject(config, "processesConfig")) return;
        checkValue(config["enable"], "processesConfig.enable", Wanted::kBool);
        checkValue(config["interval"], "processesConfig.interval", Wanted::kUint64);
        checkProcesses(config["processes"]);
    }

    void checkProcesses(const Json::Value& processes) {
        const std::string path = "processesConfig.processes";
        if (processes.isObject())
            warn(path, processes, "is an object: its values count, in the order of their keys");
        if (!processes.isObject() && !processes.isArray() && !processes.isNull())
            warn(path, processes, std::string("is ") + typeName(processes) + ": it has no entries");
        for (auto process = processes.begin(); process != processes.end(); ++process) {
            const std::string element = processes.isObject()
                                            ? memberPath(path, process.name())
                                            : path + '[' + std::to_string(process.index()) + ']';
            checkProcess(*process, element);
        }
    }

    void checkProcess(const Json::Value& process, const std::string& path) {
        if (!isObject(process, path)) return;
        const Json::Value& name = process["name"];
        const bool isName = checkValue(name, path + ".name", Wanted::kText);
        checkValue(process["description"], path + ".description", Wanted::kText);
        if (!isName) return;
        if (name.asString().empty()) {
            warn(path, process, "has no name");
        } else if (!names_.insert(name.asString()).second) {
            warn(path + ".name", name, "is listed already: " + shown(name));
        }
    }

    void checkThreadtrack(const Json::Value& config) {
        if (!isObject(config, "threadtrackConfig")) return;
        const std::string path = "threadtrackConfig.options";
        const Json::Value& options = config["options"];
        if (!isObject(options, path)) return;
        for (const std::string& name : options.getMemberNames()) {
            const Json::Value& option = options[name];
            if (!isConverted(option, Wanted::kText))
                fail(memberPath(path, name), option, wrongType(option, Wanted::kText));
        }
    }

    /** False when the library cannot convert the value. */
    bool checkValue(const Json::Value& value, const std::string& path, Wanted wanted) {
        if (!isConverted(value, wanted)) {
            fail(path, value, wrongType(value, wanted));
            return false;
        }
        warnOfConversion(value, path, wanted);
        return true;
    }

    void warnOfConversion(const Json::Value& value, const std::string& path, Wanted wanted) {
        if (value.isNull()) return;
        const bool isText = wanted == Wanted::kText;
        if (wanted == Wanted::kBool && !value.isBool())
            return warn(
                path, value,
                "is " + shown(value) + ", which counts as " + (value.asBool() ? "true" : "false"));
        if (isText && !value.isString())
            return warn(path, value, "is " + shown(value) + ", of which the text counts");
        if (wanted == Wanted::kBool || isText) return;
        if (value.isBool())
            return warn(path, value,
                        std::string("is ") + shown(value) + ", which counts as " +
                            (value.asBool() ? '1' : '0'));
        if (value.asDouble() >= static_cast<double>(UINT64_MAX) && !value.isUInt64())
            return warn(path, value, "is " + shown(value) + ": what becomes of it is undefined");
        if (value.asDouble() != static_cast<double>(value.asUInt64()))
            warn(path, value, "is " + shown(value) + ", of which the fraction is cut off");
    }

    void checkMember(const JsonMember& member) {
        const std::string path = memberPath(member.parent, member.key);
        if (member.isRepeated)
            warnAt(place(member.offset), path, "is there already: the last one counts");
        if (const auto known = findNearestKey(member.parent, member.key))
            warnAt(place(member.offset), path, "is not known; the nearest is " + *known);
    }

    void checkEnd() {
        const size_t end = text_.find_first_not_of(" \t\r\n", findDocumentEnd(text_));
        if (end != std::string_view::npos && text_[end] != '/')
            warnAt(place(end), "", "what follows the document is not looked at");
    }

    static std::string shown(const Json::Value& value) {
        std::string text = value.isString() ? inQuotes(value.asString()) : value.asString();
        if (text.size() > kLongestShownValue) text = text.substr(0, kLongestShownValue) + "...";
        return text;
    }

    static std::string wrongType(const Json::Value& value, Wanted wanted) {
        const bool isPlain = !value.isArray() && !value.isObject();
        return "is " + (isPlain ? shown(value) : typeName(value)) + ", and must be " +
               describe(wanted);
    }

    TextPlace place(size_t offset) const { return lines_.placeOf(offset); }
    TextPlace placeOfValue(const Json::Value& value) const {
        return place(start_ + static_cast<size_t>(value.getOffsetStart()));
    }

    void fail(const std::string& path, const Json::Value& value, const std::string& what) {
        check_->errors.push_back({path, placeOfValue(value), what});
    }
    void warn(const std::string& path, const Json::Value& value, const std::string& what) {
        warnAt(placeOfValue(value), path, what);
    }
    void warnAt(TextPlace place, const std::string& path, const std::string& what) {
        check_->warnings.push_back({path, place, what});
    }

    std::string_view text_;
    TextLines lines_;
    size_t start_;  // The JSON library counts from there.
    ConfigCheck* check_;
    std::set<std::string> names_;
};

/** Takes the JSON library's messages apart: "* Line 1, Column 2", and the next line has the words. */
std::vector<ConfigProblem> problemsIn(const std::string& messages) {
    std::vector<ConfigProblem> problems;
    for (size_t start = 0; start < messages.size();) {
        const size_t end = std::min(messages.find('\n', start), messages.size());
        const std::string line = messages.substr(start, end - start);
        ConfigProblem problem;
        if (sscanf(line.c_str(), "* Line %zu, Column %zu", &problem.place.line,
                   &problem.place.column) == 2) {
            problems.push_back(problem);
        } else if (!problems.empty() && problems.back().what.empty()) {
            problems.back().what = line.substr(std::min(line.find_first_not_of(' '), line.size()));
        }
        start = end + 1;
    }
    return problems;
}

bool parse(std::string_view text, Json::Value* document, std::string* messages) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), document, messages);
}

/**
 * Whether the JSON library ends a process that parses the text, by an exception or without one, where
 * it might tell of an error: tried by a process that may be ended.
 */
bool endsItsReader(std::string_view text) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        close(STDERR_FILENO);
        Json::Value document;
        std::string messages;
        parse(text, &document, &messages);
        _exit(0);
    }
    int status = 0;
    return TEMP_FAILURE_RETRY(waitpid(child, &status, 0)) == child && WIFSIGNALED(status);
}

}  // namespace

ConfigCheck checkConfig(std::string_view text) {
    ConfigCheck check;
    if (endsItsReader(text)) {
        check.errors.push_back({"", {}, "the JSON library gives up: values are nested too deep"});
        return check;
    }
    std::string messages;
    if (!parse(text, &check.document, &messages)) {
        check.document = Json::Value();
        check.errors = problemsIn(messages);
        if (check.errors.empty()) check.errors.push_back({"", {}, "this is no JSON: " + messages});
        return check;
    }
    Checker(text, &check).checkDocument();
    const auto inOrder = [](const ConfigProblem& problem) {
        return std::pair(problem.place.line, problem.place.column);
    };
    std::ranges::stable_sort(check.errors, {}, inOrder);
    std::ranges::stable_sort(check.warnings, {}, inOrder);
    return check;
}

void applyConfig(const Json::Value& document, android::__StabCloudConfig& config) {
    config.version = document["version"].asUInt();
    const Json::Value& dmaMemInfo = document["dmaMemInfoConfig"];
    config.dmaMemInfoConfig = {dmaMemInfo["enable"].asBool(), dmaMemInfo["threshHold"].asUInt64(),
                               dmaMemInfo["interval"].asUInt64()};
    const Json::Value& processes = document["processesConfig"];
    config.processesConfig.enable = processes["enable"].asBool();
    config.processesConfig.interval = processes["interval"].asUInt64();
    for (const Json::Value& process : processes["processes"]) {
        config.processesConfig.processes.push_back(
            {process["name"].asString(), process["description"].asString(), -1});
    }
    std::ranges::sort(config.processesConfig.processes, {}, &android::__ProcessInfos::name);
    const Json::Value& options = document["threadtrackConfig"]["options"];
    for (const std::string& name : options.getMemberNames())
        config.threadtrackConfig.options[name] = options[name].asString();
}
