#pragma once

#include <stdint.h>

#include <map>
#include <string>

#include "internal/StabNotifyRecord.h"

// What the library would do, printed.

/** A record for the event buffer, under one of the ids that kindOfEvent() knows. */
void printEvent(int eventId, const std::string& record);

/** A record for a file in the monitor directory. */
void printEventFile(const std::string& name, const std::string& record);

/** A record for the stability driver. */
void printDriverRecord(const stab_notify_record& record);

/** A property that would be set, or a file that would be written. */
void printSetting(const std::string& name, const std::string& value);

/** The serialised StabEvent of such a report; 0 as time means now. */
std::string stabEvent(int type, int pid, const std::string& process, uint64_t timeMs,
                      const std::map<std::string, std::string>& data);
