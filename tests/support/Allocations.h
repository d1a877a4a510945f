#pragma once

#include <stddef.h>

#include <span>

/** How much a string of this length allocates: C++ libraries round up differently. */
size_t stringBytes(size_t length);

/**
 * Watches what the current thread allocates with new and new[], for as long as it lives; one at a
 * time, and for 1000 allocations at most. What it counts itself goes to malloc() and is not seen.
 *
 * In a program that links this, what is allocated from 1 GiB on repeats one small block over and over
 * (see RepeatingMemory.h): enough for texts of one character.
 */
class Allocations {
  public:
    Allocations();
    ~Allocations();
    Allocations(const Allocations&) = delete;
    Allocations& operator=(const Allocations&) = delete;

    /** The size that was asked for at pointer, or 0 for what was not allocated since. */
    size_t sizeOf(const void* pointer) const;

    /** True for what was allocated since and has not been freed. */
    bool isHeld(const void* pointer) const;

    /** How many objects and arrays of this size have not been freed. */
    int heldOfSize(size_t size) const;

    /** How many objects and arrays have not been freed. */
    int held() const;

    /** The sizes of what was allocated since and has been freed, in the order of that. */
    std::span<const size_t> freed() const;

    /** Lets every further allocation of this size, by the current thread, fail. */
    void fail(size_t size);
};
