#include "config/ConfigFile.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>

#include "config/ConfigCheck.h"

using android::base::unique_fd;

namespace {

constexpr char kDirectory[] = "/data/syslog/settings";
constexpr char kName[] = "stab_cloud_config.json";
// What the latest delivery replaced.
constexpr char kPrevious[] = "stab_cloud_config.json.previous";
// What the delivery that is going on replaces. It is left by one that was ended: whether that one had
// come to its write is told by the file itself.
constexpr char kReplaced[] = "stab_cloud_config.json.replaced";
constexpr char kScratch[] = "stab_cloud_config.json.tmp";
constexpr mode_t kMode = 0644;
constexpr mode_t kPermissions = 0777;

std::string errorOf(const std::string& what) {
    return what + ": " + strerror(errno);
}

bool writeAll(int file, const std::string& content) {
    size_t written = 0;
    while (written < content.size()) {
        const ssize_t size =
            TEMP_FAILURE_RETRY(write(file, content.data() + written, content.size() - written));
        if (size <= 0) return false;
        written += static_cast<size_t>(size);
    }
    return true;
}

std::optional<std::string> readAll(int file) {
    std::string content;
    char bytes[65536];
    ssize_t size = 0;
    while ((size = TEMP_FAILURE_RETRY(read(file, bytes, sizeof(bytes)))) > 0)
        content.append(bytes, static_cast<size_t>(size));
    if (size < 0) return {};
    return content;
}

/** Lets no signal but SIGKILL come between the pages of a write. */
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_;
};

enum class Write { kDone, kUndone, kDamaged };

/** The one modification. */
Write writeOnce(int file, const std::string& content, const std::string& old, std::string* error) {
    const SignalsBlocked blocked;
    const ssize_t size = TEMP_FAILURE_RETRY(pwrite(file, content.data(), content.size(), 0));
    if (size == static_cast<ssize_t>(content.size())) {
        fsync(file);
        return Write::kDone;
    }
    if (size >= 0) errno = ENOSPC;
    *error = errorOf(kConfigPath);
    // What is there of it must not stay: there is room for as much.
    std::string before = old;
    before.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)), ' ');
    if (before.empty() ||
        pwrite(file, before.data(), before.size(), 0) == static_cast<ssize_t>(before.size()))
        return Write::kUndone;
    *error += std::string("; it is damaged now, and ") + kReplaced + " is what it was";
    return Write::kDamaged;
}

}  // namespace

bool ConfigFile::open(std::string* error) {
    directory_.reset(::open(kDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bool isLocked =
        directory_.ok() && TEMP_FAILURE_RETRY(flock(directory_.get(), LOCK_EX)) == 0;
    if (!isLocked) *error = errorOf(kDirectory);
    return isLocked && settle(error);
}

Delivery ConfigFile::deliver(const std::string& text) {
    Delivery delivery;
    delivery.wasMissing = !exists(kName);
    const bool isThere = !delivery.wasMissing || create(text, &delivery.error);
    if (!isThere) return delivery;
    replace(text, &delivery);
    fsync(directory_.get());
    return delivery;
}

std::optional<std::string> ConfigFile::readPrevious() const {
    return readFile(kPrevious);
}

bool ConfigFile::exists(const char* name) const {
    return faccessat(directory_.get(), name, F_OK, 0) == 0 || errno != ENOENT;
}

std::optional<std::string> ConfigFile::readFile(const char* name) const {
    const unique_fd file(openat(directory_.get(), name, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) return {};
    return readAll(file.get());
}

/** Brings what an earlier delivery left, that was ended, to its end. */
bool ConfigFile::settle(std::string* error) {
    const std::optional<std::string> replaced = readFile(kReplaced);
    if (!replaced) {
        if (errno != ENOENT) *error = errorOf(kReplaced);
        return errno == ENOENT;
    }
    const std::optional<std::string> now = readFile(kName);
    if (replaced == now) return remove(kReplaced, error);
    // One that was ended within its write left nothing to go back to but what it replaced.
    keepsPrevious_ = now && !checkConfig(*now).survives();
    return rename(kReplaced, kPrevious, error);
}

bool ConfigFile::remove(const char* name, std::string* error) const {
    const bool isGone = unlinkat(directory_.get(), name, 0) == 0 || errno == ENOENT;
    if (!isGone) *error = errorOf(name);
    return isGone;
}

bool ConfigFile::rename(const char* from, const char* to, std::string* error) const {
    const bool isDone = renameat(directory_.get(), from, directory_.get(), to) == 0;
    if (!isDone) *error = errorOf(to);
    return isDone;
}

/** Makes a file that is whole on the disk. It may be one of another name that was left. */
bool ConfigFile::writeScratch(const std::string& content, mode_t mode, std::string* error) const {
    if (!remove(kScratch, error)) return false;
    const unique_fd file(
        openat(directory_.get(), kScratch, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file.ok() && fchmod(file.get(), mode) == 0 && writeAll(file.get(), content) &&
        fsync(file.get()) == 0)
        return true;
    *error = errorOf(kScratch);
    if (file.ok()) unlinkat(directory_.get(), kScratch, 0);
    return false;
}

/** Keeps the content that is about to be replaced, before anything happens to it. */
bool ConfigFile::keep(const std::string& content, mode_t mode, std::string* error) const {
    if (!writeScratch(content, mode, error) || !rename(kScratch, kReplaced, error)) return false;
    fsync(directory_.get());
    return true;
}

/** Nobody notices a file that comes by a rename, and nobody finds it half-written. */
bool ConfigFile::create(const std::string& text, std::string* error) const {
    if (!isRoomFor(text.size(), error) || !writeScratch(text, kMode, error)) return false;
    if (renameat2(directory_.get(), kScratch, directory_.get(), kName, RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST) return true;  // It is replaced now, and its content kept.
    *error = errorOf(kConfigPath);
    return false;
}

void ConfigFile::replace(const std::string& text, Delivery* delivery) const {
    std::string* const error = &delivery->error;
    const unique_fd file(openat(directory_.get(), kName, O_RDWR | O_CLOEXEC));
    struct stat status = {};
    const bool isOpen = file.ok() && fstat(file.get(), &status) == 0;
    if (isOpen && !S_ISREG(status.st_mode)) {
        errno = EINVAL;  // Who reads it would wait for ever.
        *error = errorOf(kConfigPath);
        return;
    }
    const std::optional<std::string> old = isOpen ? readAll(file.get()) : std::nullopt;
    if (!old) {
        *error = errorOf(kConfigPath);
        return;
    }
    std::string content = text;
    content.resize(std::max(text.size(), old->size()), ' ');
    delivery->paddingBytes = content.size() - text.size();
    if (!isRoomFor(content.size(), error)) return;
    const bool isKept = content != *old && !keepsPrevious_;
    if (isKept && !keep(*old, status.st_mode & kPermissions, error)) return;
    const Write outcome = writeOnce(file.get(), content, *old, error);
    if (isKept && outcome == Write::kDone) rename(kReplaced, kPrevious, error);
    if (isKept && outcome == Write::kUndone) unlinkat(directory_.get(), kReplaced, 0);
}

/**
 * Whether there is room for a file and for a copy: a write that comes to its end half-way would end
 * everybody who watches.
 */
bool ConfigFile::isRoomFor(size_t size, std::string* error) const {
    rlimit limit = {};
    struct statvfs space = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < size) {
        errno = EFBIG;
        *error = errorOf(kConfigPath);
        return false;
    }
    // A file system without a limit says that it has no blocks at all.
    const bool isFull = fstatvfs(directory_.get(), &space) == 0 && space.f_blocks != 0 &&
                        space.f_bavail <= 2 * (size / space.f_frsize + 1);
    if (!isFull) return true;
    errno = ENOSPC;
    *error = errorOf(kConfigPath);
    return false;
}
