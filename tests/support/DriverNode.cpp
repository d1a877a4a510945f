#include "DriverNode.h"

#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr size_t kRecordBytes = 136;

template <typename Integer>
Integer integerAt(const std::string& bytes, size_t offset) {
    Integer value;
    memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

}  // namespace

DriverNode::DriverNode() : fd_(open("/dev/stabd", O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}

DriverNode::~DriverNode() {
    close(fd_);
}

std::string DriverNode::next() {
    std::string record(kRecordBytes, '\0');
    const ssize_t count = read(fd_, record.data(), record.size());
    record.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return record;
}

std::vector<std::string> DriverNode::drain() {
    std::vector<std::string> records;
    for (std::string record = next(); !record.empty(); record = next())
        records.push_back(record);
    return records;
}

size_t DriverNode::fill() {
    const std::string page(4096, 'f');
    size_t filled = 0;
    // Whole pages first, single bytes last.
    for (size_t step : {page.size(), size_t{1}}) {
        ssize_t count;
        while ((count = write(fd_, page.data(), step)) > 0)
            filled += static_cast<size_t>(count);
    }
    return filled;
}

void DriverNode::discard(size_t count) {
    std::string bytes(4096, '\0');
    while (count > 0) {
        const ssize_t got = read(fd_, bytes.data(), std::min(count, bytes.size()));
        if (got <= 0) return;
        count -= static_cast<size_t>(got);
    }
}

DriverRecord::DriverRecord(const std::string& bytes)
    : processName(bytes.substr(0, 40)),
      detail(bytes.substr(60, 60)),
      eventType(integerAt<uint32_t>(bytes, 40)),
      flags(integerAt<uint64_t>(bytes, 48)),
      pid(integerAt<int32_t>(bytes, 56)),
      kind(integerAt<uint32_t>(bytes, 128)) {}
