// The platform's event buffer as a workstation offers it: both operations add to the device root's
// buffer file and return 0, or a negative errno when the record was refused or could not be stored.

#include "internal/SysEventsBuffer.h"

#include <errno.h>

#include "records/EventBufferFile.h"

namespace {

int append(EventOperation operation, long timeMs, int eventId, const unsigned char* payload,
           int payloadLength) {
    if (payloadLength < 0 || (payload == nullptr && payloadLength != 0)) return -EINVAL;
    const std::string_view bytes(reinterpret_cast<const char*>(payload),
                                 static_cast<size_t>(payloadLength));
    return appendToEventBuffer(operation, timeMs, eventId, bytes);
}

}  // namespace

int __android_sysevents_buf_writes(long timeMs, int eventId, const unsigned char* payload,
                                   int payloadLength) {
    return append(EventOperation::kWrites, timeMs, eventId, payload, payloadLength);
}

int __android_sysevents_buf_single_file_writes(long timeMs, int eventId,
                                               const unsigned char* payload, int payloadLength) {
    return append(EventOperation::kSingleFileWrites, timeMs, eventId, payload, payloadLength);
}
