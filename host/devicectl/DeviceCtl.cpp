// Looks at the workstation device from inside, and runs commands in it. scripts/device calls it.

#include <android-base/properties.h>
#include <cutils/properties.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "RunCommand.h"
#include "ShowFiles.h"
#include "ShowRecords.h"

namespace {

constexpr int kBadUsage = 2;

int usage() {
    fputs(
        "usage: devicectl run COMMAND [ARG...]  run with the stability driver at work\n"
        "       devicectl driver [FIRST]        print what the driver got, from record FIRST on\n"
        "       devicectl events [FIRST]        print the event buffer, from record FIRST on\n"
        "       devicectl files                 print the stability event files\n"
        "       devicectl getprop NAME          print a system property\n"
        "       devicectl setprop NAME VALUE    set a system property\n",
        stderr);
    return kBadUsage;
}

int getProperty(const char* name) {
    // Whole, where property_get would cut it.
    puts(android::base::GetProperty(name, "").c_str());
    return EXIT_SUCCESS;
}

int setProperty(const char* name, const char* value) {
    if (property_set(name, value) == 0) return EXIT_SUCCESS;
    fprintf(stderr, "devicectl: the property service refuses %s=%s\n", name, value);
    return EXIT_FAILURE;
}

int show(void (*records)(size_t), const char* first) {
    char* end = nullptr;
    const size_t index = first == nullptr ? 0 : strtoul(first, &end, 10);
    if (first != nullptr && (*first == '\0' || *end != '\0')) return usage();
    records(index);
    return EXIT_SUCCESS;
}

int listFiles() {
    showFiles();
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const char* const verb = argc > 1 ? argv[1] : "";
    if (strcmp(verb, "run") == 0 && argc > 2) return runCommand(argv + 2);
    if (strcmp(verb, "driver") == 0 && argc <= 3) return show(showDriverRecords, argv[2]);
    if (strcmp(verb, "events") == 0 && argc <= 3) return show(showEvents, argv[2]);
    if (strcmp(verb, "files") == 0 && argc == 2) return listFiles();
    if (strcmp(verb, "getprop") == 0 && argc == 3) return getProperty(argv[2]);
    if (strcmp(verb, "setprop") == 0 && argc == 4) return setProperty(argv[2], argv[3]);
    return usage();
}
