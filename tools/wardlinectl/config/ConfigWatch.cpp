#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>
#include <wardline/Timestamp.h>

#include <condition_variable>
#include <mutex>

#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "Text.h"
#include "config/ConfigCommands.h"
#include "config/ConfigReport.h"
#include "config/HeldConfig.h"
#include "see/JsonWriter.h"

namespace {

/** Prints configurations as they come. */
class Watch {
  public:
    void useJson(bool isJson) { isJson_ = isJson; }

    /** The configuration that was there first, unless a change has come before it. */
    void begin(const android::__StabCloudConfig& config) {
        const std::lock_guard lock(mutex_);
        if (changes_ > 0) return;
        print(config, {});
        last_ = config;
    }

    void change(const android::__StabCloudConfig& config) {
        const std::lock_guard lock(mutex_);
        ++changes_;
        print(config, differences(last_, config));
        last_ = config;
        changed_.notify_all();
    }

    void awaitChanges(uint64_t wanted) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return wanted != 0 && changes_ >= wanted; });
    }

  private:
    void print(const android::__StabCloudConfig& config, const std::vector<std::string>& lines) {
        const std::string time = isoTime(static_cast<int64_t>(android::getTimestamp()));
        isJson_ ? printAsJson(time, config, lines) : printAsText(time, config, lines);
        fflush(stdout);
    }

    void printAsJson(const std::string& time, const android::__StabCloudConfig& config,
                     const std::vector<std::string>& lines) const {
        Json::Value object;
        object["time"] = time;
        object["change"] = Json::UInt64(changes_);
        object["config"] = configAsJson(config);
        Json::Value& list = object["differences"] = Json::arrayValue;
        for (const std::string& line : lines)
            list.append(line);
        printJson(object);
    }

    void printAsText(const std::string& time, const android::__StabCloudConfig& config,
                     const std::vector<std::string>& lines) const {
        const std::string heading = changes_ == 0 ? "version " : "change, version ";
        printf("%s\n", painted(stdout, Colour::kHeading,
                               time + ": " + heading + std::to_string(config.version))
                           .c_str());
        if (changes_ == 0) return printConfig(config);
        for (const std::string& line : lines)
            printf("  %s\n", painted(stdout, colourOf(line.front()), line).c_str());
        if (lines.empty()) puts("  no difference");
    }

    static Colour colourOf(char sign) {
        if (sign == '+') return Colour::kAdded;
        return sign == '-' ? Colour::kRemoved : Colour::kWarning;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    android::__StabCloudConfig last_;
    uint64_t changes_ = 0;
    bool isJson_ = false;
};

Watch& watch() {
    static Watch watch;
    return watch;
}

void onChange(android::__StabCloudConfig& config) {
    watch().change(config);
}

/** Lives as long as its parent does, and as the configuration lets it. */
[[noreturn]] void subscribe(uint64_t changes, bool isJson, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(kBadData);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    endWithWatcher();
    watch().useJson(isJson);
    watch().begin(android::getCloudConfig(onChange));
    watch().awaitChanges(changes);
    _exit(withOutput(kDone));
}

/** Says why the subscriber was ended, as far as the file tells it. */
void explainEnd(int signal) {
    if (signal != SIGABRT) {
        complain(std::string("the watching process was ended: ") + strsignal(signal));
        return;
    }
    complain("a configuration has ended the watching process");
    isDeviceConfigSound();
}

}  // namespace

int watchConfig(uint64_t changes, bool isJson) {
    if (!isDeviceConfigSound()) return kBadData;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) subscribe(changes, isJson, parent);
    int status = 0;
    if (child < 0 || TEMP_FAILURE_RETRY(waitpid(child, &status, 0)) < 0) {
        complain(std::string("cannot start a process: ") + strerror(errno));
        return kBadData;
    }
    if (!WIFSIGNALED(status)) return WEXITSTATUS(status);
    explainEnd(WTERMSIG(status));
    return kBadData;
}
