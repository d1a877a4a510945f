// Writes what is documented about the command line, out of the command line itself:
//
//     wardlinectl_documents man >wardlinectl.1
//     wardlinectl_documents bash >wardlinectl.bash

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Commands.h"

namespace {

using Apps = std::vector<const CLI::App*>;

Apps commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/** The commands that have no further ones, with those that lead there: "config put". */
void listLeaves(const CLI::App& app, const std::string& path,
                std::vector<std::pair<std::string, const CLI::App*>>* leaves) {
    for (const CLI::App* command : commandsOf(app)) {
        const std::string name =
            path.empty() ? command->get_name() : path + ' ' + command->get_name();
        if (commandsOf(*command).empty()) leaves->emplace_back(name, command);
        listLeaves(*command, name, leaves);
    }
}

// The man page.

/** Text for troff: hyphens that can be copied, and no control lines. */
std::string troff(const std::string& text) {
    std::string result;
    for (char c : text) {
        if (c == '-' || c == '\\') result += '\\';
        result += c == '\n' ? ' ' : c;
        if (c == '\\') result += 'e';
    }
    return result;
}

void printOption(const CLI::Option& option) {
    std::string names = option.get_name(false, true);
    std::replace(names.begin(), names.end(), ',', ' ');
    const std::string type = option.get_type_size() == 0 ? "" : option.get_type_name();
    printf(".TP\n\\fB%s\\fR%s%s\n%s\n", troff(names).c_str(), type.empty() ? "" : " ",
           troff(type.substr(0, type.find(':'))).c_str(), troff(option.get_description()).c_str());
    const size_t choices = type.find('{');
    if (choices != std::string::npos)
        printf(".br\nOne of %s.\n", troff(type.substr(choices)).c_str());
}

std::string positional(const CLI::Option& option) {
    const std::string name = option.get_name(true) + (option.get_expected_max() > 1 ? "..." : "");
    return option.get_required() ? name : '[' + name + ']';
}

void printLeaf(const std::string& path, const CLI::App& command) {
    std::string usage = "\\fBwardlinectl " + troff(path) + "\\fR [OPTIONS]";
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional()) usage += ' ' + positional(*option);
    }
    printf(".SS %s\n%s\n.PP\n%s.\n", troff(path).c_str(), usage.c_str(),
           troff(command.get_description()).c_str());
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_name() != "--help") printOption(*option);
    }
    const std::string footer = command.get_footer();
    printf(".PP\nExample:\n.EX\n%s\n.EE\n", troff(footer.substr(footer.find('\n') + 3)).c_str());
}

constexpr char kManHead[] =
    ".TH WARDLINECTL 1 \"\" libwardline\n"
    ".SH NAME\nwardlinectl \\- see, send, check and deliver what libwardline reports and reads\n"
    ".SH SYNOPSIS\n\\fBwardlinectl\\fR [OPTIONS] COMMAND [ARGUMENTS]\n"
    ".SH DESCRIPTION\n"
    "Decodes the records in which stability events, memory samples and lock timeouts travel, and "
    "those\n"
    "that the stability driver gets; sends such reports; and checks, delivers and watches the\n"
    "monitoring configuration. The library does the work, as it does for any other process.\n"
    ".PP\n"
    "What cannot be read of a damaged record is told with its offset; the rest is shown. JSON is "
    "one\n"
    "object a line: what is known about the record, with its own content in \"fields\"; bytes that "
    "are no\n"
    "UTF\\-8 are in a member whose name ends in \"_hex\". Times are milliseconds since 1970, and "
    "in ISO\n"
    "8601. What a record's flags mean is the driver's affair: the bits that are set are "
    "numbered.\n";

constexpr char kManTail[] =
    ".SH EXIT STATUS\n"
    ".TP\n0\nDone.\n.TP\n1\nThe data is bad, or it could not be done.\n.TP\n2\nThe command line is "
    "bad.\n"
    ".SH ENVIRONMENT\n"
    ".TP\nNO_COLOR\nWhen it is set and not empty, nothing is coloured. Only terminals are in any "
    "case.\n"
    ".TP\nTZ\nThe time zone in which names of event files are looked at first.\n"
    ".SH FILES\n"
    ".TP\n/data/syslog/settings/stab_cloud_config.json\n"
    "The configuration. A delivery replaces its text in place, in one write, filled up with white "
    "space.\n"
    ".TP\n/data/syslog/settings/stab_cloud_config.json.previous\n"
    "What the latest delivery replaced. One that was interrupted leaves a file whose name ends in\n"
    ".I .replaced\nor\n.IR .tmp ;\nthe next one tidies up.\n"
    ".TP\n/data/syslog/monitor/stabevent\nThe stability event files.\n"
    ".TP\n/dev/sysevents_buf, /dev/stabd_records\n"
    "What the event buffer and the driver got, on a device that lets it be read.\n";

void printManPage(const CLI::App& app) {
    fputs(kManHead, stdout);
    fputs(".SH OPTIONS\n", stdout);
    for (const CLI::Option* option : app.get_options())
        printOption(*option);
    fputs(".SH COMMANDS\n", stdout);
    std::vector<std::pair<std::string, const CLI::App*>> leaves;
    listLeaves(app, "", &leaves);
    for (const auto& [path, command] : leaves)
        printLeaf(path, *command);
    fputs(kManTail, stdout);
}

// Completion for bash.

/** What may follow a command: its commands and its options. */
std::string wordsAfter(const CLI::App& root, const CLI::App& app) {
    std::string words;
    for (const CLI::App* command : commandsOf(app))
        words += command->get_name() + ' ';
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            words += "--" + name + ' ';
    }
    if (&app != &root) words += "--no-color ";
    words.pop_back();
    return words;
}

void printCases(const CLI::App& root, const CLI::App& app, const std::string& path) {
    printf("        '%s') words='%s' ;;\n", path.c_str(), wordsAfter(root, app).c_str());
    for (const CLI::App* command : commandsOf(app))
        printCases(root, *command, path + ' ' + command->get_name());
}

void listPaths(const CLI::App& app, const std::string& path, std::vector<std::string>* paths) {
    for (const CLI::App* command : commandsOf(app)) {
        const std::string name = path + ' ' + command->get_name();
        paths->push_back(name);
        listPaths(*command, name, paths);
    }
}

void printCompletion(const CLI::App& app) {
    std::vector<std::string> paths;
    listPaths(app, "", &paths);
    std::string known;
    for (const std::string& path : paths)
        known += (known.empty() ? "'" : " | '") + path + '\'';
    printf(
        "# Completion of wardlinectl's commands and options, for bash.\n\n"
        "_wardlinectl() {\n"
        "    local path='' words='' i word=${COMP_WORDS[COMP_CWORD]}\n"
        "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        "        case \"$path ${COMP_WORDS[i]}\" in\n"
        "        %s)\n            path+=\" ${COMP_WORDS[i]}\" ;;\n"
        "        esac\n"
        "    done\n"
        "    case $path in\n",
        known.c_str());
    printCases(app, app, "");
    fputs(
        "    esac\n"
        "    if [ \"${COMP_WORDS[COMP_CWORD - 1]}\" = --as ]; then\n"
        "        words='stab-event mem-event mem-batch lock-timeout driver'\n"
        "    elif [[ $words == --* && $word != -* ]]; then\n"
        "        return 0  # A file, perhaps.\n"
        "    fi\n"
        "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
        "}\n"
        "complete -o default -F _wardlinectl wardlinectl\n",
        stdout);
}

}  // namespace

int main(int argc, char** argv) {
    Job job;
    const std::unique_ptr<CLI::App> app = makeCommandLine(&job);
    const char* const kind = argc == 2 ? argv[1] : "";
    if (strcmp(kind, "man") == 0) {
        printManPage(*app);
    } else if (strcmp(kind, "bash") == 0) {
        printCompletion(*app);
    } else {
        fputs("usage: wardlinectl_documents man|bash\n", stderr);
        return 2;
    }
    return 0;
}
