#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

// The workstation device's event buffer: a file in the device root that keeps every record in the
// order of arrival. Threads and processes may add and list at once.

enum class EventOperation : uint32_t { kWrites = 1, kSingleFileWrites = 2 };

struct BufferedEvent {
    EventOperation operation;
    int64_t timeMs;  // Wall clock, milliseconds since the Unix epoch, as the sender gave it.
    int32_t eventId;
    std::string payload;
};

/** Adds one record. Returns 0, or a negative errno: then the buffer is as it was. */
int appendToEventBuffer(EventOperation operation, int64_t timeMs, int32_t eventId,
                        std::string_view payload);

/** Every record since the device's last reboot, oldest first; none outside a device root. */
std::vector<BufferedEvent> readEventBuffer();
