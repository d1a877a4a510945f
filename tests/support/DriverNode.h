#pragma once

#include <stdint.h>

#include <string>
#include <vector>

/**
 * The driver's side of /dev/stabd: keeps the node open, so that a FIFO holds what is written to it,
 * and reads the records one at a time.
 */
class DriverNode {
  public:
    DriverNode();
    ~DriverNode();
    DriverNode(const DriverNode&) = delete;
    DriverNode& operator=(const DriverNode&) = delete;

    /** The next record's 136 bytes, or what there is of it; empty when none waits. */
    std::string next();

    /** All records that wait. */
    std::vector<std::string> drain();

    /** Writes to the node until it takes no more. Returns how many bytes it took. */
    size_t fill();

    /** Takes count bytes from the node, without looking at them. */
    void discard(size_t count);

  private:
    int fd_;
};

/** A driver record, its fields read by their offsets. */
struct DriverRecord {
    explicit DriverRecord(const std::string& bytes);

    std::string processName;  // All 40 bytes of the field.
    std::string detail;       // All 60 bytes of the field.
    uint32_t eventType;
    uint64_t flags;
    int32_t pid;
    uint32_t kind;
};
