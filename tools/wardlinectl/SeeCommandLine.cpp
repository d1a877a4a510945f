#include "Commands.h"
#include "see/See.h"

namespace {

void addOutputOptions(CLI::App& command, SeeOptions& options) {
    command.add_flag("--json", options.isJson, "Print one JSON object a record");
    command.add_flag("--hex", options.showsBytes, "Print the records' bytes too");
}

void addDecode(CLI::App& app, Job* job) {
    struct Arguments {
        SeeOptions options;
        std::string kind;
        std::vector<std::string> files;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App& command = addCommand(app, "decode", "Show the records that are in files",
                                   "wardlinectl decode --as mem-batch samples.pb");
    command.add_option("--as", arguments->kind, "The records' kind, where it cannot be found out")
        ->check(CLI::IsMember({"stab-event", "mem-event", "mem-batch", "lock-timeout", "driver"}))
        ->type_name("KIND");
    addOutputOptions(command, arguments->options);
    command.add_option("FILE", arguments->files, "The files; standard input when there are none")
        ->type_name("");
    command.callback([=] {
        *job = [=] {
            return decodeFiles(arguments->files, kindNamed(arguments->kind), arguments->options);
        };
    });
}

/** A command that shows what the device holds; the records of all but files are counted. */
void addDeviceCommand(CLI::App& app, Job* job, const char* name, const char* description,
                      int (*show)(const SeeOptions&)) {
    const auto options = std::make_shared<SeeOptions>();
    const std::string example = std::string("wardlinectl ") + name + " --follow";
    CLI::App& command = addCommand(app, name, description, example.c_str());
    addOutputOptions(command, *options);
    command.add_flag("--follow", options->follows, "Wait for more, until interrupted");
    if (show != showEventFiles)
        command.add_option("--from", options->first, "Begin with record N, counted from 0")
            ->type_name("N")
            ->check(isNumber<uint64_t>());
    command.callback([=] { *job = [=] { return show(*options); }; });
}

}  // namespace

void addSeeCommands(CLI::App& app, Job* job) {
    addDecode(app, job);
    addDeviceCommand(app, job, "events", "Show what the device's event buffer holds", showEvents);
    addDeviceCommand(app, job, "files", "Show the device's stability event files", showEventFiles);
    addDeviceCommand(app, job, "driver", "Show what the stability driver got", showDriver);
}
