#pragma once

#include <stdio.h>

#include <string>
#include <string_view>

#include "config/ConfigCheck.h"

// What a check has found, as text for people and as JSON.

/** Prints each problem with the line that it is in, and then the verdict. */
void printCheck(FILE* stream, const std::string& file, std::string_view text,
                const ConfigCheck& check);

Json::Value checkAsJson(const std::string& file, std::string_view text, const ConfigCheck& check);

/** Whether a subscriber would survive what the device has; prints what is wrong when it would not. */
bool isDeviceConfigSound();
