// Runs commands in the workstation device, and reads and sets its properties. scripts/device calls it.

#include <android-base/properties.h>
#include <cutils/properties.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "RunCommand.h"

namespace {

constexpr int kBadUsage = 2;

int usage() {
    fputs(
        "usage: devicectl run COMMAND [ARG...]  run with the stability driver at work\n"
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

}  // namespace

int main(int argc, char** argv) {
    const char* const verb = argc > 1 ? argv[1] : "";
    if (strcmp(verb, "run") == 0 && argc > 2) return runCommand(argv + 2);
    if (strcmp(verb, "getprop") == 0 && argc == 3) return getProperty(argv[2]);
    if (strcmp(verb, "setprop") == 0 && argc == 4) return setProperty(argv[2], argv[3]);
    return usage();
}
