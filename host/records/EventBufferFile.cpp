#include "EventBufferFile.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>
#include <utility>

#include "LockedFile.h"

using android::base::unique_fd;

namespace {

// The file: the offset at which the next record goes, then the records, each a header and its
// payload. A writer moves that offset last, so a record that is cut off half-way is never seen, and
// the next one replaces it.
struct RecordHeader {
    int64_t timeMs;
    uint32_t operation;
    int32_t eventId;
    uint64_t payloadBytes;
};

/** Where the records end; a damaged mark counts as no records at all. */
uint64_t readEnd(int file) {
    uint64_t end = 0;
    struct stat status;
    const bool marked = pread(file, &end, sizeof(end), 0) == sizeof(end) &&
                        fstat(file, &status) == 0 && end >= sizeof(end) &&
                        end <= static_cast<uint64_t>(status.st_size);
    return marked ? end : sizeof(end);
}

/** Reads as much as there is at that offset; returns how much. */
size_t readAt(int file, uint64_t offset, char* bytes, size_t size) {
    size_t filled = 0;
    while (filled < size) {
        const ssize_t count =
            pread(file, bytes + filled, size - filled, static_cast<off_t>(offset + filled));
        if (count <= 0) break;
        filled += static_cast<size_t>(count);
    }
    return filled;
}

}  // namespace

int appendToEventBuffer(EventOperation operation, int64_t timeMs, int32_t eventId,
                        std::string_view payload) {
    const unique_fd file = openLocked(kEventBufferFile, O_RDWR, LOCK_EX);
    if (!file.ok()) return -errno;

    const RecordHeader header = {timeMs, static_cast<uint32_t>(operation), eventId, payload.size()};
    const iovec parts[] = {{const_cast<RecordHeader*>(&header), sizeof(header)},
                           {const_cast<char*>(payload.data()), payload.size()}};
    uint64_t end = readEnd(file.get());
    const auto expected = static_cast<ssize_t>(sizeof(header) + payload.size());
    const ssize_t written = pwritev(file.get(), parts, 2, static_cast<off_t>(end));
    if (written != expected) return written < 0 ? -errno : -ENOSPC;

    end += static_cast<uint64_t>(expected);
    return pwrite(file.get(), &end, sizeof(end), 0) == sizeof(end) ? 0 : -EIO;
}

void EventBufferReader::refresh() {
    unique_fd file = openLocked(kEventBufferFile, O_RDONLY, LOCK_SH);
    const bool isSame = isSameFile(file.get(), file_.get());
    file_ = std::move(file);
    end_ = file_.ok() ? readEnd(file_.get()) : 0;
    flock(file_.get(), LOCK_UN);  // What is before the end stays: writers need not wait.
    if (isSame && end_ >= offset_) return;
    offset_ = sizeof(end_);
    isRestart_ = true;
}

std::optional<BufferedEvent> EventBufferReader::next() {
    if (offset_ >= end_) refresh();
    RecordHeader header;
    if (offset_ + sizeof(header) > end_ ||
        readAt(file_.get(), offset_, reinterpret_cast<char*>(&header), sizeof(header)) <
            sizeof(header))
        return {};

    offset_ += sizeof(header);
    std::string payload(std::min(header.payloadBytes, end_ - offset_), '\0');
    payload.resize(readAt(file_.get(), offset_, payload.data(), payload.size()));
    offset_ += payload.size();
    hasRestarted_ = std::exchange(isRestart_, false);
    return BufferedEvent{static_cast<EventOperation>(header.operation), header.timeMs,
                         header.eventId, std::move(payload)};
}

std::vector<BufferedEvent> readEventBuffer() {
    EventBufferReader reader;
    std::vector<BufferedEvent> events;
    while (auto event = reader.next())
        events.push_back(std::move(*event));
    return events;
}
