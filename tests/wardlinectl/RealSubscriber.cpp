// Compares what "wardlinectl config check --json" said of files with what they do to a real subscriber:
//
//     real_subscriber BASE VERDICTS
//
// Each line of the file VERDICTS is one verdict. A child that has parsed the file BASE subscribes, and
// finds the file modified. What is different is printed; the exit code tells whether anything is.

#include <android-base/file.h>
#include <android/log.h>
#include <fcntl.h>
#include <json/json.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>

#include <fstream>
#include <memory>
#include <string>

#include "config/HeldConfig.h"

namespace {

constexpr char kFile[] = "/data/syslog/settings/stab_cloud_config.json";
constexpr char kOther[] = "/data/syslog/settings/other";
constexpr int kDeadlineMs = 60000;

int pipeToParent = -1;

std::string asText(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

std::string contentOf(const std::string& path) {
    std::string content;
    android::base::ReadFileToString(path, &content);
    return content;
}

void writeNew(const char* path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

void tellParent(const std::string& text) {
    if (write(pipeToParent, text.data(), text.size()) < 0) _exit(1);
}

void onLogLine(const __android_logger_data*, const char* message) {
    if (strstr(message, "Successfully initialized inotify") != nullptr) tellParent("w");
}

void onChange(android::__StabCloudConfig& config) {
    tellParent(asText(configAsJson(config)));
    _exit(0);
}

[[noreturn]] void subscribe() {
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    __android_log_set_logger(onLogLine);
    android::getCloudConfig(onChange);
    tellParent("s");
    while (true)
        pause();
}

/** Reads that many bytes, or all up to the end; less where nothing comes in time. */
std::string readFrom(int pipe, size_t size) {
    std::string text;
    char byte = 0;
    pollfd wait = {pipe, POLLIN, 0};
    while (text.size() < size && poll(&wait, 1, kDeadlineMs) == 1 && read(pipe, &byte, 1) == 1)
        text += byte;
    return text;
}

/** Puts exactly these bytes into the file: unnoticed, and then by one modification. */
void modify(const std::string& content) {
    writeNew(kOther, content);
    rename(kOther, kFile);
    if (content.empty()) {
        if (truncate(kFile, 0) != 0) perror(kFile);
        return;
    }
    const int file = open(kFile, O_WRONLY | O_CLOEXEC);
    if (pwrite(file, content.data(), 1, 0) != 1) perror(kFile);
    close(file);
}

/** What a subscriber holds after the file, or nothing when it does not survive it. */
std::string heldAfter(const std::string& base, const std::string& content) {
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return "no pipe";
    writeNew(kFile, base);
    pipeToParent = pipe[1];
    const pid_t child = fork();
    if (child == 0) subscribe();
    close(pipe[1]);
    const bool isReady = readFrom(pipe[0], 2).size() == 2;
    modify(content);
    std::string held = isReady ? readFrom(pipe[0], SIZE_MAX) : "not ready";
    close(pipe[0]);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status) && WTERMSIG(status) != SIGABRT) held = "killed";
    return held;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string base = contentOf(argv[1]);
    std::ifstream verdicts(argv[2]);
    int survivors = 0;
    int victims = 0;
    int differences = 0;
    for (std::string line; std::getline(verdicts, line);) {
        Json::Value verdict;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        reader->parse(line.data(), line.data() + line.size(), &verdict, nullptr);
        const std::string file = verdict["file"].asString();
        const std::string expected = heldAfter(base, contentOf(file));
        ++(expected.empty() ? victims : survivors);
        const std::string actual = verdict["survives"].asBool() ? asText(verdict["holds"]) : "";
        if (actual == expected) continue;
        ++differences;
        printf("%s\n  subscriber: %s\n  verdict:    %s\n", file.c_str(), expected.c_str(),
               line.c_str());
    }
    printf("%d survived, %d did not; %d differences\n", survivors, victims, differences);
    return differences == 0 ? 0 : 1;
}
