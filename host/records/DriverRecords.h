#pragma once

#include <vector>

#include "internal/StabNotifyRecord.h"

// The workstation device's stability driver: a FIFO at /dev/stabd and a file that keeps what came
// through it. A FIFO holds its content only while somebody has it open; scripts/device does, for as
// long as its command runs. Unlike the driver, a FIFO takes writes of any length: after one that is
// no whole record, the records that follow are read from the wrong offset.

/** Opens the node for collecting, or returns a negative number when it is no FIFO. */
int openDriverNode();

/** Moves every record that waits in the node into the file. False when one was lost on the way. */
bool collectDriverRecords(int node);

/** Every record since the device's last reboot, oldest first, those still in the node included. */
std::vector<stab_notify_record> listDriverRecords();
