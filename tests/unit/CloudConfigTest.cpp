// The cloud configuration as it is parsed from its file, and when it is.

#include <gtest/gtest.h>
#include <json/json.h>
#include <wardline/CloudConfig.h>

#include <algorithm>
#include <filesystem>
#include <type_traits>

#include "support/Errors.h"
#include "support/MonitorTest.h"
#include "support/ParseTest.h"
#include "support/ResourceLimit.h"

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

using android::getCloudConfig;

class CloudConfig : public ParseTest {};

TEST_F(CloudConfig, IsAllZeroAtFirst) {
    const android::__StabCloudConfig fresh;

    EXPECT_EQ(kNothing, describe(fresh));
    EXPECT_EQ(0, android::__ProcessInfos().id);
    EXPECT_EQ(kNothing, describe(getCloudConfig(nullptr)));
}

TEST_F(CloudConfig, HoldsEveryKeyOfTheFile) {
    EXPECT_EQ(
        "version 3; dma true 1048576 60; processes true 30 (a|first|-1) (b|second|-1); "
        "options (depth=5) (mode=full)",
        parse(R"({
            "version": 3,
            "dmaMemInfoConfig": {"enable": true, "threshHold": 1048576, "interval": 60},
            "processesConfig": {
                "enable": true, "interval": 30,
                "processes": [{"name": "a", "description": "first"},
                              {"name": "b", "description": "second"}]},
            "threadtrackConfig": {"options": {"mode": "full", "depth": 5}}})"));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0, openDescriptorsTo(kFile));
}

TEST_F(CloudConfig, IgnoresOtherKeys) {
    EXPECT_EQ("version 3; dma false 0 0; processes false 0 (a||-1); options", parse(R"({
            "Version": 1, "version": 3, "version ": 2, "id": 4, "enable": true,
            "dmaMemInfoConfig": {"threshhold": 1, "thresHold": 2, "threshold": 3, "Enable": true},
            "processesConfig": {"Processes": [{"name": "b"}], "id": 9,
                                "processes": [{"name": "a", "id": 9, "Description": "d"}]},
            "threadtrackConfig": {"Options": {"a": 1}, "b": 2}})"));
}

TEST_F(CloudConfig, OfAnEmptyObjectKeepsProcessesAndOptionsOfBefore) {
    parse(R"({"processesConfig": {"enable": true, "interval": 3, "processes": [{"name": "a"}]},
              "dmaMemInfoConfig": {"enable": true, "threshHold": 1, "interval": 2},
              "threadtrackConfig": {"options": {"o": "v"}}})");

    EXPECT_EQ("version 0; dma false 0 0; processes false 0 (a||-1); options (o=v)", parse("{}"));
}

TEST_F(CloudConfig, TakesTheLastOfEqualKeys) {
    EXPECT_EQ("version 2; dma false 0 6; processes false 0 (c|3|-1); options (k=w)", parse(R"({
        "version": 1, "version": 2,
        "dmaMemInfoConfig": {"threshHold": 5}, "dmaMemInfoConfig": {"interval": 5, "interval": 6},
        "processesConfig": {"processes": [{"name": "a"}],
                            "processes": [{"name": "b", "name": "c", "description": 3}]},
        "threadtrackConfig": {"options": {"k": "v", "k": "w"}}})"));
}

TEST_F(CloudConfig, FailsForADocumentThatIsNestedTooDeeply) {
    expectFault(R"({"x": )" + std::string(2000, '[') + std::string(2000, ']') + "}");
}

// Processes.

TEST_F(CloudConfig, SortsProcessesByName) {
    EXPECT_EQ(processes(" (a|2|-1) (b|1|-1) (c|3|-1)"), parse(R"({"processesConfig": {"processes": [
        {"name": "b", "description": "1"},
        {"name": "a", "description": "2"},
        {"name": "c", "description": "3"}]}})"));
}

TEST_F(CloudConfig, SortsProcessesByTheBytesOfTheirNames) {
    EXPECT_EQ(
        processes(" (||-1) (A||-1) (B||-1) (Z||-1) (a||-1) (aB||-1) (aa||-1) (aaa||-1) (ab||-1) "
                  "(b||-1) (\x7f||-1) (\xc3\xa4||-1) (\xe2\x82\xac||-1)"),
        parse("{\"processesConfig\": {\"processes\": ["
              "{\"name\": \"\xe2\x82\xac\"}, {\"name\": \"ab\"}, {\"name\": \"Z\"}, "
              "{\"name\": \"aaa\"}, {\"name\": \"\xc3\xa4\"}, {\"name\": \"b\"}, "
              "{\"name\": \"aa\"}, {\"name\": \"\x7f\"}, {\"name\": \"a\"}, {\"name\": \"\"}, "
              "{\"name\": \"B\"}, {\"name\": \"A\"}, {\"name\": \"aB\"}]}}"));
}

TEST_F(CloudConfig, KeepsBytesOfNamesThatAreNoText) {
    EXPECT_EQ(processes(" (a|\xff\xfe|-1) (a\0|x|-1) (a\0b|\n|-1) (\xff||-1)"s),
              parse("{\"processesConfig\": {\"processes\": ["
                    "{\"name\": \"\xff\"}, {\"name\": \"a\\u0000b\", \"description\": \"\\n\"}, "
                    "{\"name\": \"a\\u0000\", \"description\": \"x\"}, "
                    "{\"name\": \"a\", \"description\": \"\xff\xfe\"}]}}"));
}

TEST_F(CloudConfig, SortsManyProcesses) {
    std::string list;
    std::string sorted;
    for (int i = 0; i < 1000; ++i) {
        const std::string name = std::to_string(1000 + i * 7 % 1000);
        list += (i == 0 ? "" : ", ") +
                (R"({"name": ")" + name + R"(", "description": "of )" + name + "\"}");
        const std::string inOrder = std::to_string(1000 + i);
        sorted += " (" + inOrder + "|of " + inOrder + "|-1)";
    }

    EXPECT_EQ(processes(sorted), parse(R"({"processesConfig": {"processes": [)" + list + "]}}"));
}

TEST_F(CloudConfig, KeepsProcessesOfOneNameApart) {
    parse(R"({"processesConfig": {"processes": [
        {"name": "b", "description": "1"}, {"name": "a", "description": "3"},
        {"name": "b", "description": "2"}, {"name": "b", "description": "1"}]}})");
    auto entries = getCloudConfig(nullptr).processesConfig.processes;

    // Parsed twice by now, as no version is loaded.
    ASSERT_EQ(8u, entries.size());
    std::vector<std::string> of[2];
    for (const auto& entry : entries) {
        EXPECT_EQ(of[1].empty() ? entry.name : "b", entry.name);
        of[entry.name == "b"].push_back(entry.description);
    }
    std::ranges::sort(of[1]);
    EXPECT_EQ((std::vector<std::string>{"3", "3"}), of[0]);
    EXPECT_EQ((std::vector<std::string>{"1", "1", "1", "1", "2", "2"}), of[1]);
}

TEST_F(CloudConfig, AddsTheProcessesOfEveryParseToThoseOfBefore) {
    parse(R"({"processesConfig": {"processes": [{"name": "b"}, {"name": "a"}]}})");
    EXPECT_EQ(processes(" (a||-1) (a||-1) (b||-1) (b||-1)"),
              parse(R"({"processesConfig": {"processes": [{"name": "b"}, {"name": "a"}]}})"));
    EXPECT_EQ(processes(" (a||-1) (a||-1) (aa|x|-1) (b||-1) (b||-1)"),
              parse(R"({"processesConfig": {"processes": [{"name": "aa", "description": "x"}]}})"));
    EXPECT_EQ(processes(" (a||-1) (a||-1) (aa|x|-1) (b||-1) (b||-1)"), parse("{}"));
}

// Options.

TEST_F(CloudConfig, MergesTheOptionsOfAllParses) {
    const std::string before = "version 0; dma false 0 0; processes false 0; options ";
    parse(R"({"threadtrackConfig": {"options": {"b": "1", "a": 2, "c": true}}})");

    EXPECT_EQ(before + "(a=) (b=2.5) (c=true) (d=4)",
              parse(R"({"threadtrackConfig": {"options": {"d": "4", "b": 2.5, "a": null}}})"));
    EXPECT_EQ(before + "(a=) (b=2.5) (c=true) (d=4)", parse("{}"));
}

TEST_F(CloudConfig, OrdersOptionsByTheBytesOfTheirNames) {
    EXPECT_EQ(
        "version 0; dma false 0 0; processes false 0; options (=0) (A=1) (a=2) "
        "(a\0=3) (a\0b=4\0) (aa=5) (b=6) (\xc3\xa4=7) (\xff=8)"s,
        parse("{\"threadtrackConfig\": {\"options\": {"
              "\"\xff\": 8, \"a\\u0000b\": \"4\\u0000\", \"b\": 6, \"\xc3\xa4\": 7, \"A\": 1, "
              "\"aa\": 5, \"a\": 2, \"\": 0, \"a\\u0000\": 3}}}"));
}

// The file.

TEST_F(CloudConfig, LogsAMissingFileOnEveryCallAndStaysAsItWas) {
    parse(R"({"processesConfig": {"processes": [{"name": "a"}]}})");

    EXPECT_EQ(processes(" (a||-1)"), leftover());
    EXPECT_EQ(processes(" (a||-1)"), leftover());

    EXPECT_EQ((std::vector<LogLine>{cannotOpen(ENOENT), cannotOpen(ENOENT)}), logLines());
    EXPECT_EQ(
        "Failed to open file: /data/syslog/settings/stab_cloud_config.json, No such file or "
        "directory",
        logLines().front().text);
}

TEST_F(CloudConfig, LogsAFileThatMayNotBeRead) {
    writeContent(kFile, R"({"version": 1})");
    fs::permissions(kFile, fs::perms::owner_write);
    const WithoutOverride obeying;

    EXPECT_EQ(kNothing, describe(getCloudConfig(nullptr)));
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(EACCES)}), logLines());

    fs::permissions(kFile, fs::perms::owner_read);
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
}

TEST_F(CloudConfig, LogsADirectoryThatIsMissing) {
    fs::remove(kDirectory);

    EXPECT_EQ(kNothing, describe(getCloudConfig(nullptr)));
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(ENOENT)}), logLines());
}

TEST_F(CloudConfig, LogsAFileForWhichNoDescriptorIsLeft) {
    writeContent(kFile, R"({"version": 1})");
    {
        const ResourceLimit none(RLIMIT_NOFILE, 0);
        EXPECT_EQ(kNothing, describe(getCloudConfig(nullptr)));
    }
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(EMFILE)}), logLines());
    EXPECT_EQ(1u, getCloudConfig(nullptr).version);
}

TEST_F(CloudConfig, FailsForADirectoryInThePlaceOfTheFile) {
    fs::create_directory(kFile);

    EXPECT_JSON_ERROR(getCloudConfig(nullptr));
    EXPECT_EQ(std::vector<LogLine>(), logLines());
    EXPECT_EQ(0, openDescriptorsTo(kFile));

    fs::remove(kFile);
    EXPECT_EQ("version 1; dma false 0 0; processes false 0; options", parse(R"({"version": 1})"));
}

TEST_F(CloudConfig, ReadsALargeFileWhole) {
    const std::string large(10 << 20, 'x');
    writeContent(kFile, R"({"threadtrackConfig": {"options": {"large": ")" + large +
                            R"(", "z": 1}}, "version": 1})");

    const auto config = getCloudConfig(nullptr);

    EXPECT_EQ(1u, config.version);
    ASSERT_EQ(1u, config.threadtrackConfig.options.count("large"));
    EXPECT_TRUE(config.threadtrackConfig.options.at("large") == large);
    EXPECT_EQ("1", config.threadtrackConfig.options.at("z"));
}

// When it is read.

TEST_F(CloudConfig, IsReadOnceWhenItHasAVersion) {
    parse(R"({"version": 1, "processesConfig": {"processes": [{"name": "a"}]}})");

    EXPECT_EQ("version 1; dma false 0 0; processes false 0 (a||-1); options",
              parse(R"({"version": 2})"));
    EXPECT_EQ("version 1; dma false 0 0; processes false 0 (a||-1); options", leftover());
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

#ifdef __cpp_exceptions
TEST_F(CloudConfig, CountsAsLoadedWhenAFaultLeftAVersionAndTheFileIsGoneThen) {
    expectFault(R"({"version": 7, "dmaMemInfoConfig": 0})");
    EXPECT_EQ("version 7; dma false 0 0; processes false 0; options", leftover());

    EXPECT_EQ("version 7; dma false 0 0; processes false 0; options", parse(R"({"version": 8})"));
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(ENOENT)}), logLines());
}
#endif

TEST_F(CloudConfig, IsReadOnceAlsoWhenTheVersionIsLarge) {
    parse(R"({"version": 2147483648})");

    EXPECT_EQ("version 2147483648; dma false 0 0; processes false 0; options",
              parse(R"({"version": 1})"));
}

TEST_F(CloudConfig, IsReadByEveryCallWhileItHasNoVersion) {
    for (const char* version : {"0", "null", "false", "0.5"}) {
        parse(std::string(R"({"version": )") + version +
              R"(, "processesConfig": {"processes": [{"name": "a"}]}})");
    }
    EXPECT_EQ(processes(" (a||-1) (a||-1) (a||-1) (a||-1)"), leftover());
}

TEST_F(CloudConfig, IsCopiedWhole) {
    writeContent(kFile, R"({"version": 1, "processesConfig": {"processes": [{"name": "a"}]},
                            "threadtrackConfig": {"options": {"o": "v"}}})");
    auto copy = getCloudConfig(nullptr);

    copy.version = 2;
    copy.processesConfig.processes.front().name[0] = 'x';
    copy.processesConfig.processes.emplace_back();
    copy.threadtrackConfig.options["o"][0] = 'x';
    copy.threadtrackConfig.options["p"] = "";

    EXPECT_EQ("version 1; dma false 0 0; processes false 0 (a||-1); options (o=v)",
              describe(getCloudConfig(nullptr)));
}

TEST_F(CloudConfig, HasTheTypesOfTheInterface) {
    android::__StabCloudConfig config;
    EXPECT_TRUE((std::is_same_v<uint32_t, decltype(config.version)>));
    EXPECT_TRUE((std::is_same_v<bool, decltype(config.dmaMemInfoConfig.enable)>));
    EXPECT_TRUE((std::is_same_v<uint64_t, decltype(config.dmaMemInfoConfig.threshHold)>));
    EXPECT_TRUE((std::is_same_v<uint64_t, decltype(config.dmaMemInfoConfig.interval)>));
    EXPECT_TRUE((std::is_same_v<bool, decltype(config.processesConfig.enable)>));
    EXPECT_TRUE((std::is_same_v<uint64_t, decltype(config.processesConfig.interval)>));
    EXPECT_TRUE((std::is_same_v<int32_t, decltype(android::__ProcessInfos::id)>));
}

}  // namespace
