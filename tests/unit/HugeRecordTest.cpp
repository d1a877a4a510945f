// Records that pass what protobuf serialises, 2 GiB: they are sent and filed empty.

#include <gtest/gtest.h>
#include <wardline/ArtLockTimeoutReport.h>
#include <wardline/MemKVPairArray.h>
#include <wardline/MemMonitorEventReport.h>
#include <wardline/StabEventReport.h>

#include <string>

#include "support/MonitorTest.h"

// ThreadSanitizer's; null in a program that is built without it.
extern "C" {
[[gnu::weak]] void AnnotateIgnoreReadsBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreReadsEnd(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace {

class HugeRecord : public MonitorTest {
  protected:
    HugeRecord() {
        // ThreadSanitizer would keep a record of every byte that is touched, 20 GB in all.
        if (AnnotateIgnoreReadsBegin != nullptr) AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        if (AnnotateIgnoreWritesBegin != nullptr) AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
        text_.assign(size_t{1} << 31, 'x');
    }
    ~HugeRecord() override {
        if (AnnotateIgnoreReadsEnd != nullptr) AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
        if (AnnotateIgnoreWritesEnd != nullptr) AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
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
