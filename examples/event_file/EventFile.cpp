// Files a stability event about this very process, with its command line as an attribute:
//
//     event_file EVENT-TYPE [NAME=VALUE...]
//
// The library does not tell whether it filed the event; its log does, and the monitor directory.

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <wardline/Cmdline.h>
#include <wardline/StabEventReport.h>
#include <wardline/Timestamp.h>

#include <map>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: event_file EVENT-TYPE [NAME=VALUE...]\n");
        return 2;
    }
    char* end = nullptr;
    const long type = strtol(argv[1], &end, 10);
    if (end == argv[1] || *end != '\0') {
        fprintf(stderr, "event_file: %s is no number\n", argv[1]);
        return 2;
    }
    std::map<std::string, std::string> data = {{"cmdline", android::getCmdline()}};
    for (int i = 2; i < argc; ++i) {
        const std::string attribute = argv[i];
        const size_t equals = attribute.find('=');
        if (equals == std::string::npos) {
            fprintf(stderr, "event_file: %s is no NAME=VALUE\n", argv[i]);
            return 2;
        }
        data[attribute.substr(0, equals)] = attribute.substr(equals + 1);
    }

    const auto timeMs = static_cast<unsigned long>(android::getTimestamp());
    printf("pid %d reports an event of type %ld at %s, local time\n", getpid(), type,
           android::millisecondsToDatetime(timeMs).c_str());
    fflush(stdout);  // Before the library's log lines.
    android::reportStabEventDirect(static_cast<int>(type), getpid(), argv[0], timeMs, &data);
    return 0;
}
