// What subscribers are handed, and what they may do with it.

#include <gtest/gtest.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

#include "support/Deliveries.h"
#include "support/WatcherTest.h"

namespace fs = std::filesystem;

namespace {

using android::getCloudConfig;
using Texts = std::vector<std::string>;

class CloudConfigSubscriber : public WatcherTest {};

TEST_F(CloudConfigSubscriber, DeliversAModificationToASubscriber) {
    start();
    EXPECT_EQ(0u, deliveries().size());

    deliver(R"({"version": 2, "dmaMemInfoConfig": {"enable": true, "threshHold": 3, "interval": 4},
                "processesConfig": {"enable": true, "interval": 5, "processes": [{"name": "a"}]},
                "threadtrackConfig": {"options": {"o": 6}}})");

    ASSERT_TRUE(awaitDeliveries(1));
    const std::string changed = "version 2; dma true 3 4; processes true 5 (a||-1); options (o=6)";
    EXPECT_EQ(changed, deliveries()[0].config);
    EXPECT_EQ(changed, describe(getCloudConfig(nullptr)));
    EXPECT_EQ((std::vector<LogLine>{info()}), logLines());
}

TEST_F(CloudConfigSubscriber, DeliversEachOfManyModifications) {
    start();

    for (int i = 2; i <= 50; ++i) {
        deliver(version(i));
        ASSERT_TRUE(awaitDeliveries(static_cast<size_t>(i) - 1));
        EXPECT_EQ("A " + std::to_string(i), deliveredVersions().back());
    }
    EXPECT_EQ(49u, deliveries().size());
}

TEST_F(CloudConfigSubscriber, CallsSubscribersInTheOrderOfTheirRegistrationAndAsOftenAsRegistered) {
    start(subscriberB);
    getCloudConfig(subscriberA);
    getCloudConfig(nullptr);
    getCloudConfig(subscriberB);

    deliver(version(2));

    ASSERT_TRUE(awaitDeliveries(3));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(6));
    EXPECT_EQ((Texts{"B 2", "A 2", "B 2", "B 3", "A 3", "B 3"}), deliveredVersions());
}

TEST_F(CloudConfigSubscriber, WatchesAlsoWithoutASubscriber) {
    start(nullptr);
    deliver(version(2));

    // Whoever subscribes later hears of later modifications only.
    ASSERT_TRUE(eventually([] { return getCloudConfig(nullptr).version == 2; }));
    EXPECT_EQ(2u, getCloudConfig(subscriberA).version);
    deliver(version(3));

    ASSERT_TRUE(awaitDeliveries(1));
    EXPECT_EQ((Texts{"A 3"}), deliveredVersions());
}

TEST_F(CloudConfigSubscriber, CallsSubscribersOnItsOneThreadWithTheRecordItself) {
    start();
    getCloudConfig(subscriberB);

    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(2));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(4));

    EXPECT_NE(getpid(), watcher());
    for (const Delivery& delivery : deliveries()) {
        EXPECT_EQ(watcher(), delivery.thread);
        EXPECT_EQ(deliveries()[0].record, delivery.record);
    }
}

TEST_F(CloudConfigSubscriber, HasClosedTheFileWhenItCallsSubscribers) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());
    deliver(version(3));
    std::atomic<int> open = -1;
    atDelivery([&](auto&, auto&) {
        open = openDescriptorsTo(kFile);
        noteCall("looked");
    });

    held.release();

    ASSERT_TRUE(awaitCall("looked"));
    EXPECT_EQ(0, open);
}

// What they do.

TEST_F(CloudConfigSubscriber, HandsOnWhatASubscriberChangesInTheRecord) {
    start();
    getCloudConfig(subscriberB);
    atDelivery([](const std::string& subscriber, android::__StabCloudConfig& config) {
        if (subscriber != "A") return;
        config.dmaMemInfoConfig.interval = 99;
        config.processesConfig.processes.front().id = 1234;
        config.threadtrackConfig.options["added"] = "by A";
    });

    deliver(R"({"version": 2, "processesConfig": {"processes": [{"name": "a"}]}})");

    ASSERT_TRUE(awaitDeliveries(2));
    const std::string changed =
        "version 2; dma false 0 99; processes false 0 (a||1234); options (added=by A)";
    EXPECT_EQ("version 2; dma false 0 0; processes false 0 (a||-1); options",
              deliveries()[0].config);
    EXPECT_EQ(changed, deliveries()[1].config);
    EXPECT_EQ(changed, describe(getCloudConfig(nullptr)));

    atDelivery(nullptr);
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(3));
    EXPECT_EQ("version 3; dma false 0 0; processes false 0 (a||1234); options (added=by A)",
              deliveries()[2].config);
}

TEST_F(CloudConfigSubscriber, BeginsAgainWithProcessesThatASubscriberHasCleared) {
    start();
    atDelivery([](auto&, auto& config) { config.processesConfig.processes.clear(); });
    const auto naming = [](int number, const std::string& name) {
        return R"({"version": )" + std::to_string(number) +
               R"(, "processesConfig": {"processes": [{"name": ")" + name + R"("}]}})";
    };

    deliver(naming(2, "a"));
    ASSERT_TRUE(awaitDeliveries(1));
    deliver(naming(3, "b"));
    ASSERT_TRUE(awaitDeliveries(2));

    EXPECT_EQ("version 3; dma false 0 0; processes false 0 (b||-1); options",
              deliveries()[1].config);
}

TEST_F(CloudConfigSubscriber, SortsProcessesAgainThatASubscriberHasMovedAlsoWhenNoneIsAdded) {
    start();
    atDelivery([](auto&, auto& config) {
        config.processesConfig.processes = {{"c", "", 3}, {"b", "", 2}, {"a", "", 1}};
    });

    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(1));
    deliver(version(3));
    ASSERT_TRUE(awaitDeliveries(2));

    EXPECT_EQ("version 3; dma false 0 0; processes false 0 (a||1) (b||2) (c||3); options",
              deliveries()[1].config);
}

TEST_F(CloudConfigSubscriber, CountsTheVersionOfTheParseNotWhatASubscriberMakesOfIt) {
    start();
    atDelivery([](auto&, auto& config) { config.version = 0; });
    deliver(version(2));
    ASSERT_TRUE(awaitDeliveries(1));
    resetTrace();
    fs::remove(kFile);

    // Loaded, so the file is not looked for.
    EXPECT_EQ(0u, getCloudConfig(nullptr).version);
    EXPECT_EQ(std::vector<LogLine>(), logLines());
}

TEST_F(CloudConfigSubscriber, StaysNotLoadedWhenASubscriberSetsAVersion) {
    start();
    atDelivery([](auto&, auto& config) { config.version = 5; });
    deliver("{}");
    ASSERT_TRUE(awaitDeliveries(1));
    resetTrace();
    fs::remove(kFile);

    EXPECT_EQ(5u, getCloudConfig(nullptr).version);
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(ENOENT)}), logLines());

    // By that call's parse, which changed nothing, it has one.
    getCloudConfig(nullptr);
    EXPECT_EQ((std::vector<LogLine>{cannotOpen(ENOENT)}), logLines());
}

TEST_F(CloudConfigSubscriber, KeepsEveryCallWaitingWhileASubscriberRuns) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());
    std::promise<pid_t> id;
    std::atomic<bool> isReleased = false;

    std::thread other([&] {
        id.set_value(gettid());
        EXPECT_EQ(2u, getCloudConfig(nullptr).version);
        EXPECT_TRUE(isReleased);
    });
    awaitSleep(id.get_future().get());
    isReleased = true;
    held.release();
    other.join();
}

TEST_F(CloudConfigSubscriber, DoesNotCallASubscriberForTheChangeDuringWhichItRegistered) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());
    std::promise<pid_t> id;

    std::thread other([&] {
        id.set_value(gettid());
        EXPECT_EQ(2u, getCloudConfig(subscriberB).version);
    });
    awaitSleep(id.get_future().get());
    held.release();
    other.join();
    deliver(version(3));

    ASSERT_TRUE(awaitDeliveries(3));
    EXPECT_EQ((Texts{"A 2", "A 3", "B 3"}), deliveredVersions());
}

TEST_F(CloudConfigSubscriber, StopsForGoodWhenASubscriberCallsGetCloudConfig) {
    const auto stop = [&] {
        start();
        atDelivery([](auto&, auto&) {
            noteCall("calling");
            getCloudConfig(nullptr);
            _exit(1);
        });
        deliver(version(2));
        if (!awaitCall("calling")) _exit(2);
        awaitSleep(watcher());

        std::promise<pid_t> id;
        std::thread later([&] {
            id.set_value(gettid());
            getCloudConfig(nullptr);
            _exit(3);
        });
        awaitSleep(id.get_future().get());
        _exit(0);
    };

    EXPECT_EXIT(stop(), testing::ExitedWithCode(0), "");
}

}  // namespace
