#include "config/ConfigCommands.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <optional>

#include "ExitCode.h"
#include "Input.h"
#include "LibraryLog.h"
#include "Terminal.h"
#include "config/ConfigCheck.h"
#include "config/ConfigFile.h"
#include "config/ConfigReport.h"
#include "config/HeldConfig.h"
#include "see/JsonWriter.h"

namespace {

bool read(const std::string& path, std::string* text) {
    if (readWhole(path, text)) return true;
    complain(sourceName(path) + ": " + strerror(errno));
    return false;
}

/** What a subscriber holds after these files; nothing when it would not survive them. */
std::optional<android::__StabCloudConfig> heldAfter(const std::vector<std::string>& paths) {
    android::__StabCloudConfig config;
    for (const std::string& path : paths) {
        std::string text;
        if (!read(path, &text)) return {};
        const ConfigCheck check = checkConfig(text);
        if (!check.survives()) {
            printCheck(stderr, path, text, check);
            return {};
        }
        applyConfig(check.document, config);
    }
    return config;
}

/** Prints the result of one check. Returns whether a subscriber survives. */
bool checkFile(const std::string& path, android::__StabCloudConfig held,
               const ConfigCheckOptions& options) {
    std::string text;
    if (!read(path, &text)) return false;
    const ConfigCheck check = checkConfig(text);
    if (check.survives()) applyConfig(check.document, held);
    if (options.isJson) {
        Json::Value object = checkAsJson(sourceName(path), text, check);
        if (check.survives()) object["holds"] = configAsJson(held);
        printJson(object);
        return check.survives();
    }
    printCheck(stdout, sourceName(path), text, check);
    if (check.survives() && !options.after.empty()) printConfig(held);
    return check.survives();
}

/** Whether a text may be delivered: it is sound, or the user insists. */
bool mayDeliver(const std::string& name, const std::string& text, bool isForced) {
    const ConfigCheck check = checkConfig(text);
    if (!check.errors.empty() || !check.warnings.empty()) printCheck(stderr, name, text, check);
    if (check.survives()) return true;
    complain(isForced ? "delivered all the same, as --force says"
                      : "nothing is delivered; --force would deliver it all the same");
    return isForced;
}

int fail(const std::string& error) {
    complain(error);
    return kBadData;
}

int deliver(ConfigFile& file, const std::string& name, const std::string& text) {
    const Delivery delivery = file.deliver(text);
    if (!delivery.error.empty()) return fail(delivery.error);
    if (delivery.wasMissing)
        printf("%s did not exist: made it, and wrote it once more\n", kConfigPath);
    printf("delivered %s: %zu bytes, and %zu of white space\n", name.c_str(), text.size(),
           delivery.paddingBytes);
    return kDone;
}

}  // namespace

int checkConfigFiles(const ConfigCheckOptions& options) {
    const auto before = heldAfter(options.after);
    if (!before) return kBadData;
    bool survives = true;
    Progress progress("files");
    for (const std::string& path : options.files) {
        survives = checkFile(path, *before, options) && survives;
        progress.advance();
    }
    return survives ? kDone : kBadData;
}

int putConfig(const std::string& path, bool isForced) {
    std::string text;
    const std::string name = sourceName(path);
    if (!read(path, &text) || !mayDeliver(name, text, isForced)) return kBadData;
    ConfigFile file;
    std::string error;
    if (!file.open(&error)) return fail(error);
    return deliver(file, name, text);
}

int rollBackConfig(bool isForced) {
    const std::string name = "the earlier one";
    ConfigFile file;
    std::string error;
    if (!file.open(&error)) return fail(error);
    const std::optional<std::string> text = file.readPrevious();
    if (!text)
        return fail(errno == ENOENT ? "there is no earlier configuration"
                                    : name + ": " + strerror(errno));
    if (!mayDeliver(name, *text, isForced)) return kBadData;
    return deliver(file, name, *text);
}

int showConfig(bool isJson) {
    if (!isDeviceConfigSound()) return kBadData;
    showLibraryFailures();  // The watcher may begin before this is over, or not.
    const android::__StabCloudConfig config = android::getCloudConfig(nullptr);
    if (isJson) {
        printJson(configAsJson(config));
    } else {
        printConfig(config);
    }
    return hasLibraryFailed() ? kBadData : kDone;
}
