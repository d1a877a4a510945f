#pragma once

#include <android-base/unique_fd.h>
#include <stddef.h>
#include <sys/types.h>

#include <optional>
#include <string>

constexpr char kConfigPath[] = "/data/syslog/settings/stab_cloud_config.json";

/** How a delivery went. */
struct Delivery {
    std::string error;        // Why nothing was delivered; empty when it was.
    bool wasMissing = false;  // There was no file.
    size_t paddingBytes = 0;  // White space behind the text, where the file was longer.
};

/**
 * The device's configuration file, as one delivers it who wants nobody to be ended by it: who watches
 * it sees one modification, in place, and it is as it was or as it should be whatever happens, also to
 * this program. But the kernel copies a text of more than a page (4 KiB) page by page: a SIGKILL, or
 * somebody else who begins to read, can come between two of them.
 */
class ConfigFile {
  public:
    /** Other deliveries wait until this one is over. False, with an error, when that is impossible. */
    bool open(std::string* error);

    /**
     * Replaces the file's text by one write, and keeps the old content beside it. A file that does not
     * exist comes into being as a whole, and is then written once more: that is noticed.
     */
    Delivery deliver(const std::string& text);

    /** What the file held before the latest delivery that changed it; else nothing, with errno. */
    std::optional<std::string> readPrevious() const;

  private:
    bool exists(const char* name) const;
    std::optional<std::string> readFile(const char* name) const;
    bool settle(std::string* error);
    bool remove(const char* name, std::string* error) const;
    bool rename(const char* from, const char* to, std::string* error) const;
    bool writeScratch(const std::string& content, mode_t mode, std::string* error) const;
    bool keep(const std::string& content, mode_t mode, std::string* error) const;
    bool create(const std::string& text, std::string* error) const;
    void replace(const std::string& text, Delivery* delivery) const;
    bool isRoomFor(size_t size, std::string* error) const;

    android::base::unique_fd directory_;
    bool keepsPrevious_ = false;  // It is the latest sound content.
};
