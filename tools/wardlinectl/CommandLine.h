#pragma once

#include <functional>
#include <optional>

/** What is to be done, once the command line is read; it returns the program's exit code. */
using Job = std::function<int()>;

/** Reads the command line. Returns the exit code where nothing is to be done any more. */
std::optional<int> readCommandLine(int argc, char** argv, Job* job);
