// The library's log lines as the platform's liblog hands them on, which keeps a limited number of
// bytes of each.

#include <android/log.h>
#include <gtest/gtest.h>
#include <wardline/ArtLockTimeoutReport.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> lines;

void keep(const __android_logger_data* data, const char* message) {
    EXPECT_EQ(ANDROID_LOG_DEBUG, data->priority);
    EXPECT_STREQ("libwardline", data->tag);
    lines.emplace_back(message);
}

class LongLogLine : public testing::Test {
  protected:
    LongLogLine() {
        lines.clear();
        __android_log_set_logger(keep);
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    }
    ~LongLogLine() override {
        __android_log_set_minimum_priority(minimumPriority_);
        __android_log_set_logger(__android_log_stderr_logger);
    }

  private:
    const int minimumPriority_ = __android_log_get_minimum_priority();
};

TEST_F(LongLogLine, IsCutByLiblogAlone) {
    const std::string name(2000, 'n');

    android::reportArtLockTimeout(name, "t", 1, 2, "o", "b", "x", "y");

    EXPECT_EQ((std::vector<std::string>{("reportArtLockTimeout : " + name).substr(0, 1023)}),
              lines);
}

TEST_F(LongLogLine, IsWholeUpToLiblogsLimit) {
    const std::string head =
        "reportArtLockTimeout : n, timestamp: t, wati_time: 1, owner: 2: o%s, object: ";
    const std::string object(1023 - head.size(), 'b');

    android::reportArtLockTimeout("n", "t", 1, 2, "o%s", object, "x", "y");

    EXPECT_EQ((std::vector<std::string>{head + object}), lines);
}

}  // namespace
