// Records that pass what protobuf serialises, 2 GiB: they are sent and filed empty.

#include <gtest/gtest.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/StabEventReport.h>

#include <string>

#include "support/MonitorTest.h"

namespace {

#if defined(__has_feature)
constexpr bool kShadowed = __has_feature(thread_sanitizer);
#elif defined(__SANITIZE_THREAD__)
constexpr bool kShadowed = true;
#else
constexpr bool kShadowed = false;
#endif

class HugeRecord : public MonitorTest {
  protected:
    void SetUp() override {
        // It keeps a record of every byte that is touched, mapped once or many times.
        if (kShadowed) GTEST_SKIP() << "ThreadSanitizer would take 20 GB";
        text_.assign(size_t{1} << 31, 'x');
    }

    std::string text_;
};

TEST_F(HugeRecord, OfAStabilityEventIsAnEmptyArray) {
    android::reportStabEvent(2, 1, text_, 0, nullptr);

    EXPECT_EQ("", onlyEvent().payload);
    EXPECT_NE(nullptr, lastPayloadPointer());
}

TEST_F(HugeRecord, OfAnEventFileIsAnEmptyFile) {
    android::reportStabEventDirect(2, 1, text_, 0, nullptr);

    ASSERT_EQ(1u, files().size());
    EXPECT_EQ("", contentOf(std::string(kDirectory) + "/" + *files().begin()));
}

TEST_F(HugeRecord, OfALockTimeoutIsNull) {
    android::reportArtLockTimeout("n", "t", 1, 2, "o", "b", text_, "y");

    EXPECT_EQ("", onlyEvent().payload);
    EXPECT_EQ(nullptr, lastPayloadPointer());
}

TEST_F(HugeRecord, OfASampleIsAnEmptyArray) {
    setProperty("ro.build.fingerprint", "b/p/d:13/ID1/42:user/release-keys");
    android::MemKVPairArray sample;
    sample.addString("a", text_);

    android::reportMemMonitorEvent(sample.data(), sample.size());

    EXPECT_EQ("", onlyEvent().payload);
    EXPECT_NE(nullptr, lastPayloadPointer());
    EXPECT_EQ((std::vector<LogLine>{{6, "libwardline", "et size: 0"}}), logLines());
}

}  // namespace
