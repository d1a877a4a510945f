#include <ctype.h>
#include <cutils/properties.h>
#include <errno.h>
#include <inttypes.h>
#include <string.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "PropertyArea.h"

namespace {

constexpr size_t kMaxValueBytes = PROPERTY_VALUE_MAX - 1;
constexpr std::string_view kWrittenOncePrefix = "ro.";

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    std::string text;
    if (key != nullptr) text = readProperty(key);
    if (text.empty() && default_value != nullptr) text = default_value;
    text.resize(std::min(text.size(), kMaxValueBytes));
    memcpy(value, text.c_str(), text.size() + 1);
    return static_cast<int>(text.size());
}

int32_t property_get_int32(const char* key, int32_t default_value) {
    char value[PROPERTY_VALUE_MAX];
    if (property_get(key, value, "") == 0) return default_value;

    const int savedErrno = errno;
    errno = 0;
    char* end = nullptr;
    const intmax_t number = strtoimax(value, &end, 0);
    const bool fits = errno != ERANGE && number >= std::numeric_limits<int32_t>::min() &&
                      number <= std::numeric_limits<int32_t>::max();
    errno = savedErrno;
    const bool isInteger = end != value && std::all_of(end, value + strlen(value), isspace);
    return isInteger && fits ? static_cast<int32_t>(number) : default_value;
}

int property_set(const char* key, const char* value) {
    if (key == nullptr) return -1;
    const std::string_view text = value == nullptr ? "" : value;
    const bool once = std::string_view(key).starts_with(kWrittenOncePrefix);
    if (!once && text.size() > kMaxValueBytes) return -1;
    return writeProperty(key, text, once) ? 0 : -1;
}
