#include "Commands.h"
#include "send/Coredump.h"
#include "send/Send.h"

namespace {

constexpr char kDryRun[] = "--dry-run";

/** The arguments of a command, and whether it only shows what would go out. */
template <typename Arguments>
struct Sending {
    Arguments arguments;
    bool isDryRun = false;
};

/** Adds --dry-run, and the job of sending the arguments. */
template <typename Arguments>
void finish(CLI::App& command, Job* job, const std::shared_ptr<Sending<Arguments>>& sending,
            int (*send)(const Arguments&, bool)) {
    command.add_flag(kDryRun, sending->isDryRun, "Print what would go out, and send nothing");
    command.callback([=] { *job = [=] { return send(sending->arguments, sending->isDryRun); }; });
}

template <typename Number>
CLI::Option* addNumber(CLI::App& command, const char* name, Number& value,
                       const char* description) {
    return command.add_option(name, value, description)->type_name("N")->check(isNumber<Number>());
}

/** Where a value was forgotten, the option behind it must not pass for one: nothing would be dry. */
CLI::Validator isNoDryRun() {
    const auto check = [](const std::string& text) {
        return text == kDryRun ? "a value is missing before " + text : "";
    };
    return {check, ""};
}

CLI::Option* addText(CLI::App& command, const char* name, std::string& value,
                     const char* description) {
    return command.add_option(name, value, description)->type_name("TEXT")->check(isNoDryRun());
}

/** An option that takes several words at once, any number of times. */
CLI::Option* addWords(CLI::App& command, const char* name, std::vector<std::string>& words,
                      int count, const char* types, const char* description) {
    return command.add_option(name, words, description)
        ->type_size(count)
        ->type_name(types)
        ->allow_extra_args(false)
        ->check(isNoDryRun());
}

void addStab(CLI::App& app, Job* job) {
    struct Arguments {
        StabReport report;
        std::vector<std::string> data;  // Keys and values by turns.
    };
    const auto sending = std::make_shared<Sending<Arguments>>();
    StabReport& report = sending->arguments.report;
    CLI::App& command =
        addCommand(app, "stab", "Report a stability event",
                   "wardlinectl report stab --type 2 --pid 42 --process app --data abi arm64");
    addNumber(command, "--type", report.type, "2 a native crash, 4 a kill")->required();
    addNumber(command, "--pid", report.pid, "The process concerned")->required();
    addText(command, "--process", report.process, "Its name")->required();
    addNumber(command, "--time-ms", report.timeMs, "Milliseconds since 1970; 0, as without: now");
    addWords(command, "--data", sending->arguments.data, 2, "KEY VALUE",
             "An attribute; as often as wanted");
    command.add_flag("--file", report.isFile, "Into a file of its own, not to the event buffer");
    finish<Arguments>(command, job, sending, [](const Arguments& arguments, bool isDryRun) {
        StabReport report = arguments.report;
        for (size_t i = 0; i + 1 < arguments.data.size(); i += 2)
            report.data[arguments.data[i]] = arguments.data[i + 1];
        return reportStab(report, isDryRun);
    });
}

void addLockTimeout(CLI::App& app, Job* job) {
    const auto sending = std::make_shared<Sending<LockTimeoutReport>>();
    LockTimeoutReport& report = sending->arguments;
    CLI::App& command =
        addCommand(app, "lock-timeout", "Report a lock that was waited on for too long",
                   "wardlinectl report lock-timeout --name wait --wait-time 5000 --owner 7");
    addText(command, "--name", report.name, "What the report is about")->required();
    addText(command, "--timestamp", report.timestamp, "When it happened");
    addNumber(command, "--wait-time", report.waitTime, "How long the lock was waited on");
    addNumber(command, "--owner", report.owner, "The number of the lock's owner");
    addText(command, "--owner-desc", report.ownerDesc, "Who that is");
    addText(command, "--object", report.object, "The lock");
    addText(command, "--extra1", report.extra1, "Further text");
    addText(command, "--extra2", report.extra2, "Further text");
    finish(command, job, sending, reportLockTimeout);
}

void addMem(CLI::App& app, Job* job) {
    using Words = std::vector<std::string>;
    const auto sending = std::make_shared<Sending<Words>>();
    CLI::App& command = addCommand(app, "mem", "Report a sample of memory figures",
                                   "wardlinectl report mem --pair MemFree uint64 5120");
    addWords(command, "--pair", sending->arguments, 3, "KEY TYPE VALUE",
             "A figure; as often as wanted. Types: string,\n"
             "int32, int64, uint32, uint64, bool, double,\n"
             "float, bytes (in hex)")
        ->required();
    finish<Words>(command, job, sending, [](const Words& words, bool isDryRun) {
        MemFigures figures;
        for (size_t i = 0; i + 2 < words.size(); i += 3)
            figures.emplace_back(words[i], words[i + 1], words[i + 2]);
        return reportMem(figures, isDryRun);
    });
}

void addCrash(CLI::App& app, Job* job) {
    const auto sending = std::make_shared<Sending<Crash>>();
    Crash& crash = sending->arguments;
    CLI::App& command =
        addCommand(app, "crash", "A process crashed on a signal",
                   "wardlinectl notify crash --process /bin/app --pid 42 --signal 11");
    addText(command, "--process", crash.process, "The process's name")->required();
    addNumber(command, "--pid", crash.pid, "Its id")->required();
    addNumber(command, "--signal", crash.signal, "The signal's number")->required();
    addNumber(command, "--code", crash.code, "The signal's code");
    addText(command, "--detail", crash.detail, "Text for the driver");
    finish(command, job, sending, notifyCrash);
}

void addKilled(CLI::App& app, Job* job) {
    struct Arguments {
        int type = 0, pid = 0;
    };
    const auto sending = std::make_shared<Sending<Arguments>>();
    CLI::App& command = addCommand(app, "killed", "system_server or zygote was killed",
                                   "wardlinectl notify killed --type 4 --pid 1000");
    addNumber(command, "--type", sending->arguments.type, "The cause, 1 to 6")->required();
    addNumber(command, "--pid", sending->arguments.pid, "The process's id")->required();
    finish<Arguments>(command, job, sending, [](const Arguments& arguments, bool isDryRun) {
        return notifyKilled(arguments.type, arguments.pid, isDryRun);
    });
}

void addLogFinish(CLI::App& app, Job* job) {
    const auto sending = std::make_shared<Sending<int>>();
    CLI::App& command = addCommand(app, "log-finish", "The extra logs of a process are collected",
                                   "wardlinectl notify log-finish --pid 42");
    addNumber(command, "--pid", sending->arguments, "The process's id")->required();
    finish<int>(command, job, sending,
                [](const int& pid, bool isDryRun) { return notifyLogFinish(pid, isDryRun); });
}

void addBlockLogo(CLI::App& app, Job* job) {
    struct Arguments {
        int word0 = 0, word1 = 0;
    };
    const auto sending = std::make_shared<Sending<Arguments>>();
    CLI::App& command = addCommand(app, "block-logo", "Two words for the driver",
                                   "wardlinectl notify block-logo --word0 1 --word1 2");
    addNumber(command, "--word0", sending->arguments.word0, "The first word")->required();
    addNumber(command, "--word1", sending->arguments.word1, "The second word")->required();
    finish<Arguments>(command, job, sending, [](const Arguments& arguments, bool isDryRun) {
        return notifyBlockLogo(arguments.word0, arguments.word1, isDryRun);
    });
}

void addCoredump(CLI::App& app, Job* job) {
    const auto options = std::make_shared<CoredumpOptions>();
    CLI::App& command = addCommand(app, "coredump", "Show whether a process may dump core",
                                   "wardlinectl coredump /system/bin/app");
    command.add_option("PROCESS", options->process, "The process's name")
        ->type_name("")
        ->required();
    command.add_flag("--apply", options->applies, "Decide: this uses up the latch");
    command.add_flag("--json", options->isJson, "Print a JSON object");
    command.callback([=] { *job = [=] { return showCoredump(*options); }; });
}

}  // namespace

void addSendCommands(CLI::App& app, Job* job) {
    CLI::App& report = addCommand(app, "report", "Report something, as the platform's processes do",
                                  "wardlinectl report mem --pair MemFree uint64 5120");
    report.require_subcommand(1);
    addStab(report, job);
    addLockTimeout(report, job);
    addMem(report, job);
    CLI::App& notify = addCommand(app, "notify", "Notify the stability driver",
                                  "wardlinectl notify killed --type 4 --pid 1000");
    notify.require_subcommand(1);
    addCrash(notify, job);
    addKilled(notify, job);
    addLogFinish(notify, job);
    addBlockLogo(notify, job);
    addCoredump(app, job);
}
