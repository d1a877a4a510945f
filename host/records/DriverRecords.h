#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <optional>
#include <vector>

#include "internal/StabNotifyRecord.h"

// The records that came to /dev/stabd: read from /dev/stabd_records, and kept in a file. On a
// workstation, both nodes are one FIFO. It holds its content only while somebody has it open;
// scripts/device does, for as long as its command runs. Unlike a driver, a FIFO takes writes of any
// length: after one that is no whole record, the records that follow are read from the wrong offset.

constexpr char kDriverRecordsNode[] = "/dev/stabd_records";

/** Opens the node for collecting, or returns a negative number when it is no FIFO and no device. */
int openDriverNode();

/** Moves every record that waits in the node into the file. False when one was lost on the way. */
bool collectDriverRecords(int node);

/** Reads the records, oldest first, those still in the node included. */
class DriverRecordReader {
  public:
    /** The next record, or nothing while there is none; then it may be asked again later. */
    std::optional<stab_notify_record> next();

    /** Whether the latest record is the first one, after a reboot that has cleared the records. */
    bool hasRestarted() const { return hasRestarted_; }

  private:
    bool readNext(stab_notify_record* record);
    void refresh();

    android::base::unique_fd file_;
    uint64_t offset_ = 0;
    bool isRestart_ = false;     // Of the next record.
    bool hasRestarted_ = false;  // Of the latest one.
};

/** Every record since the device's last reboot, oldest first, those still in the node included. */
std::vector<stab_notify_record> listDriverRecords();
