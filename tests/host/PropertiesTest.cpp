// The workstation device's properties: the platform's semantics, shared by all processes.

#include <android-base/properties.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr char kArea[] = "/dev/__properties__";

class Properties : public testing::Test {
  protected:
    Properties() {
        for (const auto& entry : fs::directory_iterator(kArea))
            fs::remove(entry);
    }

    static std::string get(const char* name, const char* defaultValue = "default") {
        char value[PROPERTY_VALUE_MAX];
        const int length = property_get(name, value, defaultValue);
        EXPECT_EQ(static_cast<int>(strlen(value)), length);
        return value;
    }
};

/** Runs work in count processes at once; true when all of them returned true. */
bool inProcesses(int count, const std::function<bool(int)>& work) {
    for (int i = 0; i < count; ++i) {
        if (fork() == 0) _exit(work(i) ? 0 : 1);
    }
    bool succeeded = true;
    int status = 0;
    while (wait(&status) > 0)
        succeeded = succeeded && status == 0;
    return succeeded;
}

TEST_F(Properties, GiveTheDefaultWhenAbsentOrEmpty) {
    EXPECT_EQ("default", get("absent"));
    EXPECT_EQ(0, property_set("empty", ""));
    EXPECT_EQ("default", get("empty"));
}

TEST_F(Properties, GiveAnEmptyTextWhenThereIsNoDefault) {
    EXPECT_EQ("", get("absent", nullptr));
}

TEST_F(Properties, CutALongDefault) {
    EXPECT_EQ(std::string(91, 'd'), get("absent", std::string(200, 'd').c_str()));
}

TEST_F(Properties, GiveTheLatestValue) {
    EXPECT_EQ(0, property_set("name", "first"));
    EXPECT_EQ(0, property_set("name", "second, shorter"));
    EXPECT_EQ(0, property_set("name", "x"));

    EXPECT_EQ("x", get("name"));
}

TEST_F(Properties, TakeANullValueForTheEmptyOne) {
    EXPECT_EQ(0, property_set("name", nullptr));

    EXPECT_EQ("default", get("name"));
}

TEST_F(Properties, TakeAValueOf91BytesAndRefuseALongerOne) {
    EXPECT_EQ(0, property_set("name", std::string(91, 'v').c_str()));
    EXPECT_GT(0, property_set("name", std::string(92, 'w').c_str()));

    EXPECT_EQ(std::string(91, 'v'), get("name"));
}

TEST_F(Properties, TakeALongerValueThatIsWrittenOnceAndShowItCut) {
    EXPECT_EQ(0, property_set("ro.name", std::string(1000, 'v').c_str()));

    EXPECT_EQ(std::string(91, 'v'), get("ro.name"));
    EXPECT_EQ(std::string(1000, 'v'), android::base::GetProperty("ro.name", "default"));
}

TEST_F(Properties, RefuseIllegalNames) {
    const std::string tooLong(256, 'n');
    for (const char* name : {"", ".", ".a", "a.", "a..b", "a b", "a/b", "../a", "a\nb", "a*", "a%",
                             "\xc3\xa4", "dumpstate.coredump.", tooLong.c_str()}) {
        EXPECT_GT(0, property_set(name, "1")) << name;
        EXPECT_EQ("default", get(name)) << name;
        EXPECT_EQ("default", android::base::GetProperty(name, "default")) << name;
    }
    EXPECT_GT(0, property_set(nullptr, "1"));
}

TEST_F(Properties, TakeLegalNames) {
    const std::string longName(200, 'n');
    for (const char* name : {"a", "A.b-c_d@e:f.9", "sys.stab.system_killed",
                             "dumpstate.coredump.-system-bin-app", "-", longName.c_str()}) {
        EXPECT_EQ(0, property_set(name, "1")) << name;
        EXPECT_EQ("1", get(name)) << name;
    }
}

TEST_F(Properties, AreWrittenOnceWhenReadOnly) {
    EXPECT_EQ(0, property_set("ro.name", "first"));
    EXPECT_GT(0, property_set("ro.name", "second"));
    EXPECT_EQ(0, property_set("ro.empty", ""));
    EXPECT_GT(0, property_set("ro.empty", "second"));

    EXPECT_EQ("first", get("ro.name"));
    EXPECT_EQ("default", get("ro.empty"));
}

TEST_F(Properties, AreReadOnlyByTheWholePrefix) {
    EXPECT_EQ(0, property_set("rom", "first"));
    EXPECT_EQ(0, property_set("rom", "second"));
    EXPECT_EQ(0, property_set("a.ro.b", "first"));
    EXPECT_EQ(0, property_set("a.ro.b", "second"));
}

TEST_F(Properties, ConvertToAnInteger) {
    const std::pair<const char*, int> values[] = {{"0", 0},
                                                  {"5", 5},
                                                  {"-5", -5},
                                                  {"+5", 5},
                                                  {" 5", 5},
                                                  {"0x10", 16},
                                                  {"010", 8},
                                                  {"5abc", 42},
                                                  {"1.9", 42},
                                                  {"5 6", 42},
                                                  {"5 ", 5},
                                                  {"abc", 42},
                                                  {"", 42},
                                                  {"-", 42},
                                                  {"x5", 42},
                                                  {"99999999999", 42},
                                                  {"2147483647", 2147483647},
                                                  {"2147483648", 42},
                                                  {"-2147483648", -2147483648},
                                                  {"-2147483649", 42},
                                                  {"99999999999999999999", 42}};
    for (const auto& [value, number] : values) {
        EXPECT_EQ(0, property_set("name", value));
        EXPECT_EQ(number, property_get_int32("name", 42)) << value;
    }
    EXPECT_EQ(42, property_get_int32("absent", 42));
    EXPECT_EQ(42, property_get_int32(nullptr, 42));
}

TEST_F(Properties, LeaveErrnoAloneWhenConverting) {
    EXPECT_EQ(0, property_set("name", "99999999999999999999"));
    errno = EXDEV;

    property_get_int32("name", 42);

    EXPECT_EQ(EXDEV, errno);
}

TEST_F(Properties, AreSharedByAllProcesses) {
    EXPECT_EQ(0, property_set("name", "parent"));

    EXPECT_TRUE(inProcesses(
        1, [](int) { return get("name") == "parent" && property_set("name", "child") == 0; }));

    EXPECT_EQ("child", get("name"));
}

TEST_F(Properties, LoseNothingUnderConcurrentSettersInManyProcesses) {
    EXPECT_TRUE(inProcesses(8, [](int process) {
        for (int i = 0; i < 200; ++i) {
            const std::string name = "p" + std::to_string(process) + "." + std::to_string(i);
            if (property_set(name.c_str(), name.c_str()) != 0) return false;
        }
        return true;
    }));

    for (int process = 0; process < 8; ++process) {
        for (int i = 0; i < 200; ++i) {
            const std::string name = "p" + std::to_string(process) + "." + std::to_string(i);
            ASSERT_EQ(name, get(name.c_str()));
        }
    }
}

TEST_F(Properties, AreNeverSeenTorn) {
    const std::string values[] = {std::string(91, 'a'), "b", std::string(50, 'c')};
    ASSERT_EQ(0, property_set("name", values[0].c_str()));
    const std::set<std::string> whole(std::begin(values), std::end(values));
    std::atomic<int> writers = 4;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 4; ++writer) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i)
                property_set("name", values[i % 3].c_str());
            --writers;
        });
    }

    int torn = 0;
    while (writers > 0) {
        if (!whole.contains(get("name"))) ++torn;
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(0, torn);
}

TEST_F(Properties, LetOnlyOneOfManyWriteAReadOnlyOne) {
    std::atomic<int> winners = 0;
    std::string winner;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            const std::string value = std::to_string(i);
            if (property_set("ro.name", value.c_str()) == 0 && ++winners == 1) winner = value;
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(1, winners);
    EXPECT_EQ(winner, get("ro.name"));
}

TEST_F(Properties, LeaveNothingBesideTheValuesBehind) {
    EXPECT_EQ(0, property_set("ro.name", "1"));
    EXPECT_GT(0, property_set("ro.name", "2"));
    EXPECT_EQ(0, property_set("name", "3"));
    EXPECT_GT(0, property_set(std::string(256, 'n').c_str(), "4"));

    std::set<std::string> files;
    for (const auto& entry : fs::directory_iterator(kArea))
        files.insert(entry.path().filename());
    EXPECT_EQ((std::set<std::string>{"name", "ro.name"}), files);
}

TEST_F(Properties, AreTheSameForLibbase) {
    EXPECT_EQ(0, property_set("name", "17"));
    EXPECT_EQ("17", android::base::GetProperty("name", "default"));
    EXPECT_EQ(17, android::base::GetIntProperty("name", 0));
    EXPECT_EQ("default", android::base::GetProperty("absent", "default"));

    EXPECT_TRUE(android::base::SetProperty("name", "18"));
    EXPECT_EQ("18", get("name"));
    EXPECT_FALSE(android::base::SetProperty("name", std::string(92, 'v')));
}

}  // namespace
