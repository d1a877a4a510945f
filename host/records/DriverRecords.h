#pragma once

#include <vector>

#include "internal/StabNotifyRecord.h"

// The records that came to /dev/stabd: read from /dev/stabd_records, and kept in a file. On a
// workstation, both nodes are one FIFO. It holds its content only while somebody has it open;
// scripts/device does, for as long as its command runs. Unlike a driver, a FIFO takes writes of any
// length: after one that is no whole record, the records that follow are read from the wrong offset.

/** Opens the node for collecting, or returns a negative number when it is no FIFO and no device. */
int openDriverNode();

/** Moves every record that waits in the node into the file. False when one was lost on the way. */
bool collectDriverRecords(int node);

/** Every record since the device's last reboot, oldest first, those still in the node included. */
std::vector<stab_notify_record> listDriverRecords();
