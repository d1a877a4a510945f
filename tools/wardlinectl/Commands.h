#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>

#include "CommandLine.h"

/** The program's commands. The job that the command line asks for is stored where job points to. */
std::unique_ptr<CLI::App> makeCommandLine(Job* job);

// Its parts.
void addSeeCommands(CLI::App& app, Job* job);
void addSendCommands(CLI::App& app, Job* job);
void addConfigCommands(CLI::App& app, Job* job);

/** Whole decimal numbers in the range of the type alone: CLI11 takes -1 for the largest one. */
template <typename Number>
CLI::Validator isNumber() {
    const auto check = [](const std::string& text) {
        Number number = 0;
        const char* const end = text.data() + text.size();
        const auto read = std::from_chars(text.data(), end, number);
        const bool isRead = read.ec == std::errc() && read.ptr == end;
        return isRead ? "" : '"' + text + "\" is no number that it takes";
    };
    return {check, ""};
}

/** A command with its example, which help shows last. */
CLI::App& addCommand(CLI::App& app, const char* name, const char* description, const char* example);
