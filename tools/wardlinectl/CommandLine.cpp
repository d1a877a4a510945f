#include "Commands.h"
#include "ExitCode.h"
#include "Terminal.h"

namespace {

constexpr size_t kHelpColumn = 24;

/** Options on one line each, where CLI11 repeats types and limits. */
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() { column_width(kHelpColumn); }

    std::string make_option_opts(const CLI::Option* option) const override {
        const bool takesValue = option->get_type_size() != 0;
        return takesValue ? ' ' + option->get_type_name() : "";
    }
};

}  // namespace

CLI::App& addCommand(CLI::App& app, const char* name, const char* description,
                     const char* example) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.footer(std::string("Example:\n  ") + example);
    return command;
}

std::unique_ptr<CLI::App> makeCommandLine(Job* job) {
    auto app = std::make_unique<CLI::App>(
        "Sees, sends, checks and delivers what libwardline reports and reads", "wardlinectl");
    app->formatter(std::make_shared<HelpFormatter>());
    app->set_help_flag("-h,--help", "Print this help and exit");
    app->set_version_flag("--version", "wardlinectl " WARDLINE_VERSION,
                          "Print the version and exit");
    app->add_flag_callback("--no-color", neverColour,
                           "Never use colours (as the variable NO_COLOR)");
    app->footer(
        "Example:\n  wardlinectl decode --json stabd.records\n\n"
        "Exit codes: 0 done; 1 bad data, or it could not be done; 2 bad usage.");
    app->fallthrough();
    app->require_subcommand(1);
    addSeeCommands(*app, job);
    addSendCommands(*app, job);
    addConfigCommands(*app, job);
    return app;
}

std::optional<int> readCommandLine(int argc, char** argv, Job* job) {
    const std::unique_ptr<CLI::App> app = makeCommandLine(job);
    try {
        app->parse(argc, argv);
        return {};
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app->exit(error);
            std::cout.flush();
            return kDone;
        }
        const std::vector<std::string> unknown = app->remaining();
        const bool isOption = !unknown.empty() && unknown.front().starts_with('-');
        complain(unknown.empty() ? error.what()
                                 : (isOption ? "there is no option " : "there is no command ") +
                                       unknown.front());
        fputs("Run with --help for more information.\n", stderr);
        return kBadUsage;
    }
}
