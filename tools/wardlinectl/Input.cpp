#include "Input.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

namespace {

constexpr size_t kReadBytes = 65536;

}  // namespace

Input::Input(const std::string& path)
    : file_(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                        : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

Input Input::ofBytes(std::string bytes) {
    Input input;
    input.isInMemory_ = true;
    input.buffer_ = std::move(bytes);
    return input;
}

bool Input::readMore() {
    if (isInMemory_ || error_ != 0) return false;
    buffer_.erase(0, start_);
    start_ = 0;
    const size_t held = buffer_.size();
    buffer_.resize(held + kReadBytes);
    const ssize_t size = TEMP_FAILURE_RETRY(read(file_.get(), buffer_.data() + held, kReadBytes));
    if (size < 0) error_ = errno;
    buffer_.resize(held + static_cast<size_t>(std::max<ssize_t>(size, 0)));
    return size > 0;
}

std::string_view Input::peek(size_t size) {
    while (buffer_.size() - start_ < size && readMore()) {
    }
    return std::string_view(buffer_).substr(start_, size);
}

std::string Input::take(size_t size) {
    std::string taken(peek(size));
    start_ += taken.size();
    offset_ += taken.size();
    return taken;
}

std::string Input::takeAll() {
    return take(std::numeric_limits<size_t>::max());
}

std::string sourceName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

bool readWhole(const std::string& path, std::string* content) {
    Input input(path);
    if (!input.ok()) return false;
    *content = input.takeAll();
    errno = input.error();
    return input.error() == 0;
}
