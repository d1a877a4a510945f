#include "EventBufferFile.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>

#include "LockedFile.h"

using android::base::unique_fd;

namespace {

constexpr char kBufferFile[] = "/dev/sysevents_buf";

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

/** The bytes between the end mark and the end that it names. */
std::string readRecords(int file) {
    std::string bytes(readEnd(file) - sizeof(uint64_t), '\0');
    size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = pread(file, bytes.data() + filled, bytes.size() - filled,
                                    static_cast<off_t>(sizeof(uint64_t) + filled));
        if (count <= 0) break;
        filled += static_cast<size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

}  // namespace

int appendToEventBuffer(EventOperation operation, int64_t timeMs, int32_t eventId,
                        std::string_view payload) {
    const unique_fd file = openLocked(kBufferFile, O_RDWR, LOCK_EX);
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

std::vector<BufferedEvent> readEventBuffer() {
    const unique_fd file = openLocked(kBufferFile, O_RDONLY, LOCK_SH);
    if (!file.ok()) return {};

    const std::string bytes = readRecords(file.get());
    std::string_view rest = bytes;
    std::vector<BufferedEvent> events;
    RecordHeader header;
    while (rest.size() >= sizeof(header)) {
        rest.copy(reinterpret_cast<char*>(&header), sizeof(header));
        rest.remove_prefix(sizeof(header));
        events.push_back({static_cast<EventOperation>(header.operation), header.timeMs,
                          header.eventId, std::string(rest.substr(0, header.payloadBytes))});
        rest.remove_prefix(std::min<uint64_t>(rest.size(), header.payloadBytes));
    }
    return events;
}
