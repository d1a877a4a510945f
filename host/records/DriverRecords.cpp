#include "DriverRecords.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "LockedFile.h"

using android::base::unique_fd;

namespace {

constexpr char kNode[] = "/dev/stabd_records";
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
    if (stat(kNode, &status) != 0) return -1;
    if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode)) return -1;
    // For writing too: a FIFO without a writer would always be ready to read its end.
    return open(kNode, O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

bool collectDriverRecords(int node) {
    // Records leave the node only under this lock: whoever holds it and finds the node empty knows
    // that the file is complete.
    const unique_fd file = openLocked(kRecordsFile, O_WRONLY | O_CREAT | O_APPEND, LOCK_EX);
    return moveRecords(node, file.get());
}

std::vector<stab_notify_record> listDriverRecords() {
    const unique_fd node(openDriverNode());
    if (node.ok()) collectDriverRecords(node.get());

    const unique_fd file(open(kRecordsFile, O_RDONLY | O_CLOEXEC));
    std::vector<stab_notify_record> records;
    stab_notify_record record;
    while (read(file.get(), &record, sizeof(record)) == static_cast<ssize_t>(sizeof(record))) {
        records.push_back(record);
    }
    return records;
}
