// Which events of the directory count as a change of the configuration.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <wardline/CloudConfig.h>

#include <filesystem>

#include "support/Deliveries.h"
#include "support/WatcherTest.h"

namespace fs = std::filesystem;

namespace {

using android::getCloudConfig;
using Texts = std::vector<std::string>;

class CloudConfigEvents : public WatcherTest {};

TEST_F(CloudConfigEvents, ReadsAFileThatWasRewrittenWithTruncationOnceWhenItComesToIt) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());

    // Truncation and write: events that merge while nobody reads them.
    writeContent(kFile, version(33333));
    held.release();
    ASSERT_TRUE(awaitDeliveries(2));

    expectOnly({"A 2", "A 33333"});
}

TEST_F(CloudConfigEvents, DoesNotNoticeARename) {
    start();

    writeContent(pathOf("new"), version(2));
    fs::rename(pathOf("new"), kFile);

    expectOnly({});
}

TEST_F(CloudConfigEvents, DoesNotNoticeADeletionNorACreationNorAttributes) {
    start();

    fs::permissions(kFile, fs::perms::owner_all);
    fs::remove(kFile);
    close(open(kFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));

    expectOnly({});
}

TEST_F(CloudConfigEvents, NoticesTheWriteThatMakesTheFirstFile) {
    EXPECT_EQ(0u, getCloudConfig(subscriberA).version);
    ASSERT_TRUE(awaitCall(kWatching));

    deliver(version(1));
    ASSERT_TRUE(awaitDeliveries(1));

    expectOnly({"A 1"});
}

TEST_F(CloudConfigEvents, IgnoresOtherFilesOfTheDirectory) {
    start();

    for (const char* name :
         {"stab_cloud_config.json.bak", "stab_cloud_config.jso", "stab_cloud",
          "Stab_cloud_config.json", "xstab_cloud_config.json", "other", "stab_cloud_config.json ",
          "stab_cloud_config.jsonx", "tab_cloud_config.json"})
        writeContent(pathOf(name), version(9));

    expectOnly({});
}

TEST_F(CloudConfigEvents, IgnoresAFileOfTheSameNameInAFolder) {
    start();

    fs::create_directory(pathOf("folder"));
    writeContent(pathOf("folder/stab_cloud_config.json"), version(9));

    expectOnly({});
}

TEST_F(CloudConfigEvents, HandlesEachOfTwoEventsThatOneReadGives) {
    start();
    getCloudConfig(subscriberB);
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());

    deliver(R"({"version": 3, "processesConfig": {"processes": [{"name": "a"}]}})");
    modifyOther();
    deliver(R"({"version": 4, "processesConfig": {"processes": [{"name": "b"}]}})");
    held.release();

    // Both parses read what is in the file by then.
    ASSERT_TRUE(awaitDeliveries(6));
    EXPECT_EQ((Texts{"A 2", "B 2", "A 4", "B 4", "A 4", "B 4"}), deliveredVersions());
    EXPECT_EQ("version 4; dma false 0 0; processes false 0 (b||-1); options",
              deliveries()[2].config);
    EXPECT_EQ("version 4; dma false 0 0; processes false 0 (b||-1) (b||-1); options",
              deliveries()[4].config);
}

TEST_F(CloudConfigEvents, HandlesEqualEventsOnceThatMergedBeforeTheyWereRead) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());

    for (int i = 3; i <= 9; ++i)
        deliver(version(i));
    modifyOther();
    held.release();
    ASSERT_TRUE(awaitDeliveries(2));

    expectOnly({"A 2", "A 9"});
}

TEST_F(CloudConfigEvents, HandlesMoreEventsThanOneReadHolds) {
    start();
    HeldWatcher held;
    deliver(version(2));
    ASSERT_TRUE(held.await());

    for (int i = 0; i < 100; ++i) {
        deliver(version(3));
        modifyOther();
    }
    held.release();
    ASSERT_TRUE(awaitDeliveries(101));

    Texts expected(101, "A 3");
    expected.front() = "A 2";
    expectOnly(expected);
}

}  // namespace
