#include "DriverNode.h"

#include <fcntl.h>
#include <poll.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

namespace {

constexpr ssize_t kRecordBytes = 136;
constexpr int kDeadlineMs = 30000;

template <typename Integer>
Integer integerAt(const std::string& bytes, size_t offset) {
    Integer value;
    memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

}  // namespace

DriverNode::DriverNode() : fd_(open("/dev/stabd_records", O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}

DriverNode::~DriverNode() {
    close(fd_);
}

std::string DriverNode::next() {
    std::string record(kRecordBytes, '\0');
    const ssize_t count = read(fd_, record.data(), record.size());
    record.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return record;
}

bool DriverNode::awaitRecord() {
    pollfd wait = {fd_, POLLIN, 0};
    return poll(&wait, 1, kDeadlineMs) == 1;
}

std::vector<std::string> DriverNode::drain() {
    std::vector<std::string> records;
    for (std::string record = next(); !record.empty(); record = next())
        records.push_back(record);
    return records;
}

size_t DriverNode::fill() {
    const int node = open("/dev/stabd", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string record(kRecordBytes, 'f');
    size_t filled = 0;
    while (write(node, record.data(), record.size()) == kRecordBytes)
        ++filled;
    close(node);
    return filled;
}

DriverRecord::DriverRecord(const std::string& bytes)
    : processName(bytes.substr(0, 40)),
      detail(bytes.substr(60, 60)),
      eventType(integerAt<uint32_t>(bytes, 40)),
      flags(integerAt<uint64_t>(bytes, 48)),
      pid(integerAt<int32_t>(bytes, 56)),
      kind(integerAt<uint32_t>(bytes, 128)) {}
