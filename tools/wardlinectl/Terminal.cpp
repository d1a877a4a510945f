#include "Terminal.h"

#include <errno.h>
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "ExitCode.h"
#include "Text.h"

namespace {

bool coloursAllowed = true;

bool isSet(const char* variable) {
    const char* const value = getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isColoured(FILE* stream) {
    const char* const terminal = getenv("TERM");
    return coloursAllowed && !isSet("NO_COLOR") && isatty(fileno(stream)) == 1 &&
           terminal != nullptr && strcmp(terminal, "dumb") != 0;
}

const char* escapeOf(Colour colour) {
    switch (colour) {
        case Colour::kHeading:
            return "\033[1m";
        case Colour::kError:
            return "\033[1;31m";
        case Colour::kWarning:
            return "\033[33m";
        case Colour::kAdded:
            return "\033[32m";
        case Colour::kRemoved:
            return "\033[31m";
    }
    return "";
}

}  // namespace

void neverColour() {
    coloursAllowed = false;
}

std::string painted(FILE* stream, Colour colour, std::string_view text) {
    if (!isColoured(stream)) return std::string(text);
    return escapeOf(colour) + std::string(text) + "\033[0m";
}

void complain(std::string_view message) {
    fflush(stdout);
    fprintf(stderr, "%s %s\n", painted(stderr, Colour::kError, "wardlinectl:").c_str(),
            printable(message).c_str());
}

int withOutput(int code) {
    if (fflush(stdout) == 0 && ferror(stdout) == 0) return code;
    complain(std::string("cannot write to standard output: ") + strerror(errno));
    return kBadData;
}

void Progress::advance() {
    constexpr auto kBetweenUpdates = std::chrono::milliseconds(200);
    ++done_;
    if (Clock::now() < next_ || isatty(STDERR_FILENO) == 0 || isatty(STDOUT_FILENO) == 1) return;
    next_ = Clock::now() + kBetweenUpdates;
    isShown_ = true;
    fprintf(stderr, "\r%" PRIu64 " %s\033[K", done_, unit_);
}

void Progress::clear() {
    if (isShown_) fputs("\r\033[K", stderr);
    isShown_ = false;
}
