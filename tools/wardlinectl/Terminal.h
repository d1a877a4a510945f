#pragma once

#include <stdint.h>
#include <stdio.h>

#include <chrono>
#include <string>
#include <string_view>

// What depends on whether a person looks at it: colours, and a line that tells how far work has come.

enum class Colour { kHeading, kError, kWarning, kAdded, kRemoved };

/** Never colour anything from now on. The variable NO_COLOR and a dumb terminal do the same. */
void neverColour();

/** The text in a colour, as far as the stream is a terminal that is to be coloured. */
std::string painted(FILE* stream, Colour colour, std::string_view text);

/** The exit code, unless standard output has not taken all: then a message, and that of a failure. */
int withOutput(int code);

/** Prints a message of the program's own to standard error, after all that was printed before. */
void complain(std::string_view message);

/**
 * A line on standard error that tells about work which lasts longer than a second. It is shown on a
 * terminal, while standard output goes somewhere else.
 */
class Progress {
  public:
    explicit Progress(const char* unit) : unit_(unit) {}
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** One more unit is done. */
    void advance();

    /** Takes the line away; it comes back as work goes on. */
    void clear();

  private:
    using Clock = std::chrono::steady_clock;

    const char* unit_;
    uint64_t done_ = 0;
    Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
    bool isShown_ = false;
};
