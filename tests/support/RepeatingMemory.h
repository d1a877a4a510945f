#pragma once

#include <stddef.h>

/**
 * Memory for gigabytes of one and the same character: one small block, mapped again and again. Up to
 * eight at a time for each thread, which itself must unmap them.
 */
void* mapRepeating(size_t size);

/** Returns false for what is no such memory. */
bool unmapRepeating(void* start);
