#pragma once

#include <stdint.h>

#include <string>
#include <vector>

/**
 * The driver's side of /dev/stabd: keeps /dev/stabd_records open, so that a FIFO holds what is written
 * to it, and reads the records one at a time.
 */
class DriverNode {
  public:
    DriverNode();
    ~DriverNode();
    DriverNode(const DriverNode&) = delete;
    DriverNode& operator=(const DriverNode&) = delete;

    /** The next record's 136 bytes, or what there is of it; empty when none waits. */
    std::string next();

    /** Waits until there is a record; false when none comes by a deadline. */
    bool awaitRecord();

    /** All records that wait. */
    std::vector<std::string> drain();

    /** Writes records to the node until it takes no more. Returns how many it took. */
    size_t fill();

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
