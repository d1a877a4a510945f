#include "ParseTest.h"

#include <json/json.h>

#include <filesystem>

#include "Errors.h"

using android::getCloudConfig;

std::string ParseTest::parse(const std::string& text) {
    writeContent(kFile, text);
    return describe(getCloudConfig(nullptr));
}

void ParseTest::expectFault(const std::string& text) {
    writeContent(kFile, text);
    EXPECT_JSON_ERROR(getCloudConfig(nullptr));
}

std::string ParseTest::leftover() {
    std::filesystem::remove_all(kFile);
    return describe(getCloudConfig(nullptr));
}

std::string processes(const std::string& entries) {
    return "version 0; dma false 0 0; processes false 0" + entries + "; options";
}
