// android::base's property functions over the workstation device's properties. Debian's libbase
// keeps a map inside each process instead; this library stands in front of it, and its other
// property functions end here too.

#include <android-base/properties.h>
#include <cutils/properties.h>

#include "cutils/PropertyArea.h"

std::string android::base::GetProperty(const std::string& key, const std::string& default_value) {
    const std::string value = readProperty(key);  // Whole, where property_get would cut it.
    return value.empty() ? default_value : value;
}

bool android::base::SetProperty(const std::string& key, const std::string& value) {
    return property_set(key.c_str(), value.c_str()) == 0;
}
