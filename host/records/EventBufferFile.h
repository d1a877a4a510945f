#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The workstation device's event buffer: a file in the device root that keeps every record in the
// order of arrival. Threads and processes may add and list at once.

constexpr char kEventBufferFile[] = "/dev/sysevents_buf";

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

/** Reads the buffer, oldest record first, whatever is added meanwhile. */
class EventBufferReader {
  public:
    /** The next record, or nothing while there is none; then it may be asked again later. */
    std::optional<BufferedEvent> next();

    /** Whether the latest record is the first one, after a reboot that has cleared the buffer. */
    bool hasRestarted() const { return hasRestarted_; }

  private:
    void refresh();

    android::base::unique_fd file_;
    uint64_t offset_ = 0;
    uint64_t end_ = 0;
    bool isRestart_ = false;     // Of the next record.
    bool hasRestarted_ = false;  // Of the latest one.
};

/** Every record since the device's last reboot, oldest first; none outside a device root. */
std::vector<BufferedEvent> readEventBuffer();
