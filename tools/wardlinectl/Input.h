#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <string>
#include <string_view>

/** A file, a FIFO or standard input, read from its start to its end with little of it in memory. */
class Input {
  public:
    /** Opens a file, or standard input for "-". Not ok, with errno, when it cannot be opened. */
    explicit Input(const std::string& path);

    /** Reads bytes that are in memory already. */
    static Input ofBytes(std::string bytes);

    bool ok() const { return isInMemory_ || file_.ok(); }

    /** The next bytes, which stay; fewer than that many at the end. Valid until the next call. */
    std::string_view peek(size_t size);

    /** Takes the next bytes; fewer than that many at the end. */
    std::string take(size_t size);

    /** Takes all that is left. */
    std::string takeAll();

    bool atEnd() { return peek(1).empty(); }

    /** How many bytes have been taken. */
    uint64_t offset() const { return offset_; }

    /** The errno of a read that failed, which counts as the end; 0 when none did. */
    int error() const { return error_; }

  private:
    Input() = default;
    bool readMore();

    android::base::unique_fd file_;
    bool isInMemory_ = false;
    std::string buffer_;  // From start_ on.
    size_t start_ = 0;
    uint64_t offset_ = 0;
    int error_ = 0;
};

/** What messages call a path: "-" is standard input. */
std::string sourceName(const std::string& path);

/** The whole content of a file or of standard input; false, with errno, when it cannot be read. */
bool readWhole(const std::string& path, std::string* content);
