#pragma once

#include <stdint.h>

#include <string>

/** Bytes from their hex digits; blanks between them are ignored. */
std::string bytesOf(const std::string& hex);

/**
 * Wire bytes of fields with all numbers from last down to first, each as a number and as a text. A
 * record that knows one of them would write it before those that came earlier.
 */
std::string fieldsDownTo(uint32_t first, uint32_t last);
