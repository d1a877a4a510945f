// Many threads take the configuration while its file changes.

#include <gtest/gtest.h>
#include <wardline/CloudConfig.h>

#include <atomic>
#include <thread>

#include "support/Deliveries.h"
#include "support/WatcherTest.h"

namespace {

constexpr int kThreads = 16;
constexpr uint32_t kChanges = 1000;

class CloudConfigThreads : public WatcherTest {};

/** A file in which every value tells the version. */
std::string fileOf(uint32_t version) {
    const std::string number = std::to_string(version);
    return R"({"version": )" + number + R"(, "dmaMemInfoConfig": {"enable": )" + number +
           R"(, "threshHold": )" + number + R"(, "interval": )" + number +
           R"(}, "processesConfig": {"enable": )" + number + R"(, "interval": )" + number +
           R"(}, "threadtrackConfig": {"options": {"first": )" + number + R"(, "last": "version )" +
           number + R"( in a text that is long"}}})";
}

std::string recordOf(uint32_t version) {
    const std::string number = std::to_string(version);
    return "version " + number + "; dma true " + number + " " + number + "; processes true " +
           number + "; options (first=" + number + ") (last=version " + number +
           " in a text that is long)";
}

TEST_F(CloudConfigThreads, SeeWholeRecordsOnlyAndNoneThatIsOlderThanTheOneBefore) {
    deliver(fileOf(1));
    ASSERT_EQ(recordOf(1), describe(android::getCloudConfig(subscriberA)));
    ASSERT_TRUE(awaitCall(kWatching));
    std::atomic<bool> isOver = false;
    std::atomic<int> faults = 0;
    const auto read = [&] {
        uint32_t last = 1;
        while (!isOver) {
            const auto config = android::getCloudConfig(nullptr);
            if (describe(config) != recordOf(config.version) || config.version < last) ++faults;
            last = config.version;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(read);

    std::vector<std::string> expected;
    for (uint32_t version = 2; version <= 1 + kChanges; ++version) {
        deliver(fileOf(version));
        // A read that overlaps the next write could see parts of both.
        if (!awaitDeliveries(version - 1)) break;
        expected.push_back("A " + std::to_string(version));
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(0, faults);
    EXPECT_EQ(kChanges, expected.size());
    EXPECT_EQ(expected, deliveredVersions());
    EXPECT_EQ(recordOf(1 + kChanges), describe(android::getCloudConfig(nullptr)));
}

}  // namespace
