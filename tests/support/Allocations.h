#pragma once

#include <stddef.h>

#include <vector>

/**
 * Watches what the current thread allocates with new and new[], for as long as it lives; one at a
 * time. What it counts itself goes to malloc() and is not seen.
 */
class Allocations {
  public:
    Allocations();
    ~Allocations();
    Allocations(const Allocations&) = delete;
    Allocations& operator=(const Allocations&) = delete;

    /** The sizes of all arrays allocated so far, in order. */
    std::vector<size_t> arraySizes() const;

    /** How many of those arrays have not been freed. */
    int heldArrays() const;

    /** How many objects and arrays have not been freed. */
    int heldByThisThread() const;

    /** Lets every further new[] of the current thread fail. */
    void failArrays();

    bool wasArray(const void* pointer) const;
};
