#include "DriverRecords.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "LockedFile.h"

using android::base::unique_fd;

namespace {

constexpr char kRecordsFile[] = "/dev/stabd.records";
constexpr size_t kRecordsPerRead = 64;

/** Empties the node also when the file takes nothing: its writers must not be blocked. */
bool moveRecords(int node, int file) {
    stab_notify_record records[kRecordsPerRead];
    bool stored = true;
    ssize_t count;
    while ((count = read(node, records, sizeof(records))) > 0) {
        stored = write(file, records, static_cast<size_t>(count)) == count && stored;
    }
    return stored;
}

}  // namespace

int openDriverNode() {
    struct stat status;
    if (stat(kDriverRecordsNode, &status) != 0) return -1;
    if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode)) return -1;
    // For writing too: a FIFO without a writer would always be ready to read its end.
    return open(kDriverRecordsNode, O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

bool collectDriverRecords(int node) {
    // Records leave the node only under this lock: whoever holds it and finds the node empty knows
    // that the file is complete.
    const unique_fd file = openLocked(kRecordsFile, O_WRONLY | O_CREAT | O_APPEND, LOCK_EX);
    return moveRecords(node, file.get());
}

bool DriverRecordReader::readNext(stab_notify_record* record) {
    const ssize_t size = pread(file_.get(), record, sizeof(*record), static_cast<off_t>(offset_));
    if (size != static_cast<ssize_t>(sizeof(*record))) return false;
    offset_ += sizeof(*record);
    hasRestarted_ = std::exchange(isRestart_, false);
    return true;
}

void DriverRecordReader::refresh() {
    const unique_fd node(openDriverNode());
    if (node.ok()) collectDriverRecords(node.get());
    unique_fd file(open(kRecordsFile, O_RDONLY | O_CLOEXEC));
    const bool isSame = isSameFile(file.get(), file_.get());
    file_ = std::move(file);
    if (isSame) return;
    offset_ = 0;
    isRestart_ = true;
}

std::optional<stab_notify_record> DriverRecordReader::next() {
    stab_notify_record record;
    if (readNext(&record)) return record;
    refresh();
    if (readNext(&record)) return record;
    return {};
}

std::vector<stab_notify_record> listDriverRecords() {
    DriverRecordReader reader;
    std::vector<stab_notify_record> records;
    while (const auto record = reader.next())
        records.push_back(*record);
    return records;
}
