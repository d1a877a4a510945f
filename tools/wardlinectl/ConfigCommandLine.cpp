#include "Commands.h"
#include "config/ConfigCommands.h"

namespace {

void addCheck(CLI::App& app, Job* job) {
    const auto options = std::make_shared<ConfigCheckOptions>();
    CLI::App& command = addCommand(app, "check", "Tell whether a subscriber would survive files",
                                   "wardlinectl config check --after delivered.json next.json");
    command.add_option("--after", options->after, "What it holds already; as often as wanted")
        ->type_name("OLDFILE")
        ->allow_extra_args(false);
    command.add_flag("--json", options->isJson, "Print one JSON object a file");
    command.add_option("FILE", options->files, "The files; - is standard input")
        ->type_name("")
        ->required();
    command.callback([=] { *job = [=] { return checkConfigFiles(*options); }; });
}

void addPut(CLI::App& app, Job* job) {
    struct Arguments {
        std::string file;
        bool isForced = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App& command = addCommand(app, "put", "Deliver a file to those who watch",
                                   "wardlinectl config put next.json");
    command.add_option("FILE", arguments->file, "The file; - is standard input")
        ->type_name("")
        ->required();
    command.add_flag("--force", arguments->isForced, "Also one that ends those who watch");
    command.callback(
        [=] { *job = [=] { return putConfig(arguments->file, arguments->isForced); }; });
}

void addRollback(CLI::App& app, Job* job) {
    const auto isForced = std::make_shared<bool>(false);
    CLI::App& command = addCommand(app, "rollback", "Deliver what the latest delivery replaced",
                                   "wardlinectl config rollback");
    command.add_flag("--force", *isForced, "Also what ends those who watch");
    command.callback([=] { *job = [=] { return rollBackConfig(*isForced); }; });
}

void addShow(CLI::App& app, Job* job) {
    const auto isJson = std::make_shared<bool>(false);
    CLI::App& command = addCommand(app, "show", "Print the configuration as the library holds it",
                                   "wardlinectl config show");
    command.add_flag("--json", *isJson, "Print a JSON object");
    command.callback([=] { *job = [=] { return showConfig(*isJson); }; });
}

void addWatch(CLI::App& app, Job* job) {
    struct Arguments {
        uint64_t changes = 0;
        bool isJson = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App& command = addCommand(app, "watch", "Subscribe, and print each change",
                                   "wardlinectl config watch --changes 1");
    command.add_option("--changes", arguments->changes, "End after N changes")
        ->type_name("N")
        ->check(isNumber<uint64_t>());
    command.add_flag("--json", arguments->isJson, "Print one JSON object a change");
    command.callback(
        [=] { *job = [=] { return watchConfig(arguments->changes, arguments->isJson); }; });
}

}  // namespace

void addConfigCommands(CLI::App& app, Job* job) {
    CLI::App& config = addCommand(app, "config", "Check, deliver and watch the configuration",
                                  "wardlinectl config check next.json");
    config.require_subcommand(1);
    addCheck(config, job);
    addPut(config, job);
    addRollback(config, job);
    addShow(config, job);
    addWatch(config, job);
}
