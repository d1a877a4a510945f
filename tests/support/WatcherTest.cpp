#include "WatcherTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

WatcherTest::~WatcherTest() {
    resetTrace();  // What observed the test's calls is gone.
    // Takes the lock after the watcher; starts none, and has nothing to parse.
    withoutWatcher();
    std::filesystem::remove_all(kFile);
    android::getCloudConfig(nullptr);
}

void WatcherTest::start(void (*subscriber)(android::__StabCloudConfig&)) {
    deliver(version(1));
    EXPECT_EQ(1u, android::getCloudConfig(subscriber).version);
    ASSERT_TRUE(awaitCall(kWatching));
}

std::string WatcherTest::version(int number) {
    return R"({"version": )" + std::to_string(number) + "}";
}

std::string WatcherTest::pathOf(const std::string& name) {
    return std::string(kDirectory) + "/" + name;
}

void WatcherTest::modifyOther() {
    const int file = open(pathOf("other").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_EQ(1, pwrite(file, "x", 1, 0));
    close(file);
}

void WatcherTest::expectOnly(std::vector<std::string> delivered) {
    // A change too many could look like the first of them, but not like both.
    for (int later : {1000, 1001}) {
        deliver(version(later));
        delivered.push_back("A " + std::to_string(later));
        ASSERT_TRUE(awaitDeliveries(delivered.size()));
    }
    EXPECT_EQ(delivered, deliveredVersions());
}

LogLine WatcherTest::info() {
    return {4, "libwardline", "Successfully initialized inotify for file: /data/syslog/settings"};
}

LogLine WatcherTest::error(const std::string& text) {
    return {6, "libwardline", text};
}
