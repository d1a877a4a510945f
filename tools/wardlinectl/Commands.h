#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "CommandLine.h"

/** The program's commands. The job that the command line asks for is stored where job points to. */
std::unique_ptr<CLI::App> makeCommandLine(Job* job);

// Its parts.
void addSeeCommands(CLI::App& app, Job* job);
void addSendCommands(CLI::App& app, Job* job);
void addConfigCommands(CLI::App& app, Job* job);

/** For options that take a number: CLI11 would take -1 for the largest one. */
CLI::Validator notNegative();

/** A command with its example, which help shows last. */
CLI::App& addCommand(CLI::App& app, const char* name, const char* description, const char* example);
