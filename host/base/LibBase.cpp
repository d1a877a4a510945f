// The functions of the platform's libbase that are needed here, where Debian's libbase cannot be
// linked because it was built for another C++ library.

#include <android-base/file.h>
#include <android-base/parseint.h>
#include <android-base/properties.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

bool android::base::ReadFileToString(const std::string& path, std::string* content,
                                     bool follow_symlinks) {
    content->clear();
    const int flags = O_RDONLY | O_CLOEXEC | (follow_symlinks ? 0 : O_NOFOLLOW);
    const unique_fd file(TEMP_FAILURE_RETRY(open(path.c_str(), flags)));
    if (!file.ok()) return false;
    char bytes[4096];
    ssize_t size = 0;
    while ((size = TEMP_FAILURE_RETRY(read(file.get(), bytes, sizeof(bytes)))) > 0)
        content->append(bytes, static_cast<size_t>(size));
    return size == 0;
}

namespace android::base {

template <typename T>
T GetIntProperty(const std::string& key, T default_value, T min, T max) {
    T value;
    return ParseInt(GetProperty(key, ""), &value, min, max) ? value : default_value;
}

template int GetIntProperty(const std::string&, int, int, int);

}  // namespace android::base
