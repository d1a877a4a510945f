// The workstation device's event buffer.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "internal/SysEventsBuffer.h"
#include "records/EventBufferFile.h"
#include "support/ResourceLimit.h"

namespace {

class EventBuffer : public testing::Test {
  protected:
    EventBuffer() { std::ofstream("/dev/sysevents_buf", std::ios::trunc); }

    static const unsigned char* bytes(const std::string& text) {
        return reinterpret_cast<const unsigned char*>(text.data());
    }

    static int add(int eventId, const std::string& text) {
        return __android_sysevents_buf_writes(1, eventId, bytes(text),
                                              static_cast<int>(text.size()));
    }
};

TEST_F(EventBuffer, KeepsOperationTimeIdAndBytesInOrder) {
    const std::string first("a\0b", 3);
    const std::string second = "second";

    EXPECT_EQ(0, __android_sysevents_buf_writes(-5, 39, bytes(first), 3));
    EXPECT_EQ(0, __android_sysevents_buf_single_file_writes(1700000000123, 36, bytes(second), 6));

    const auto events = readEventBuffer();
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(EventOperation::kWrites, events[0].operation);
    EXPECT_EQ(-5, events[0].timeMs);
    EXPECT_EQ(39, events[0].eventId);
    EXPECT_EQ(first, events[0].payload);
    EXPECT_EQ(EventOperation::kSingleFileWrites, events[1].operation);
    EXPECT_EQ(1700000000123, events[1].timeMs);
    EXPECT_EQ(36, events[1].eventId);
    EXPECT_EQ(second, events[1].payload);
}

TEST_F(EventBuffer, CopiesTheBytesBeforeItReturns) {
    std::string text = "before";
    add(1, text);
    text = "after!";

    ASSERT_EQ(1u, readEventBuffer().size());
    EXPECT_EQ("before", readEventBuffer()[0].payload);
}

TEST_F(EventBuffer, TakesEmptyAndLargeRecords) {
    const std::string large(5'000'000, 'x');

    EXPECT_EQ(0, __android_sysevents_buf_writes(1, 1, nullptr, 0));
    EXPECT_EQ(0, add(2, large));
    EXPECT_EQ(0, add(3, "after"));

    const auto events = readEventBuffer();
    ASSERT_EQ(3u, events.size());
    EXPECT_EQ("", events[0].payload);
    EXPECT_EQ(large, events[1].payload);
    EXPECT_EQ("after", events[2].payload);
}

TEST_F(EventBuffer, IsReadOnFromTheLatestRecord) {
    EventBufferReader reader;
    EXPECT_FALSE(reader.next());

    add(1, "one");
    add(2, "two");

    EXPECT_EQ("one", reader.next()->payload);
    add(3, "three");
    EXPECT_EQ("two", reader.next()->payload);
    EXPECT_EQ("three", reader.next()->payload);
    EXPECT_FALSE(reader.hasRestarted());
    EXPECT_FALSE(reader.next());
}

TEST_F(EventBuffer, IsReadFromTheStartAfterAReboot) {
    EventBufferReader reader;
    add(1, "before");
    EXPECT_EQ("before", reader.next()->payload);

    unlink("/dev/sysevents_buf");
    std::ofstream("/dev/sysevents_buf").flush();
    EXPECT_FALSE(reader.next());
    add(2, "after, and longer");

    EXPECT_EQ("after, and longer", reader.next()->payload);
    EXPECT_TRUE(reader.hasRestarted());
}

TEST_F(EventBuffer, IsReadFromTheStartWhenItWasEmptied) {
    EventBufferReader reader;
    add(1, "before");
    EXPECT_EQ("before", reader.next()->payload);

    std::ofstream("/dev/sysevents_buf", std::ios::trunc).flush();
    EXPECT_FALSE(reader.next());
    add(2, "x");

    EXPECT_EQ("x", reader.next()->payload);
    EXPECT_TRUE(reader.hasRestarted());
}

TEST_F(EventBuffer, RefusesBadInput) {
    const unsigned char byte = 0;

    EXPECT_GT(0, __android_sysevents_buf_writes(1, 1, nullptr, 1));
    EXPECT_GT(0, __android_sysevents_buf_writes(1, 1, &byte, -1));
    EXPECT_GT(0, __android_sysevents_buf_single_file_writes(1, 1, nullptr, 1));
    EXPECT_GT(0, __android_sysevents_buf_single_file_writes(1, 1, nullptr, -1));

    EXPECT_EQ(0u, readEventBuffer().size());
}

TEST_F(EventBuffer, RefusesARecordThatItCannotStoreAndStaysWhole) {
    signal(SIGXFSZ, SIG_IGN);
    add(1, "before");
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 100);
        EXPECT_GT(0, add(2, std::string(200, 'x')));
    }
    add(3, "after");

    const auto events = readEventBuffer();
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ("before", events[0].payload);
    EXPECT_EQ("after", events[1].payload);
}

TEST_F(EventBuffer, StartsAnewWhenItIsDamaged) {
    for (const std::string& damage : {std::string(3, 'x'), std::string(8, '\0'),
                                      std::string(8, '\xff'), std::string(100, 'x')}) {
        std::ofstream("/dev/sysevents_buf", std::ios::trunc) << damage;
        EXPECT_EQ(0u, readEventBuffer().size());

        EXPECT_EQ(0, add(1, "after"));

        ASSERT_EQ(1u, readEventBuffer().size());
        EXPECT_EQ("after", readEventBuffer()[0].payload);
    }
}

TEST_F(EventBuffer, LosesAndMixesUpNothingUnderManyProcesses) {
    constexpr int kProcesses = 8;
    constexpr int kRecords = 500;
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() != 0) continue;
        for (int i = 0; i < kRecords; ++i) {
            add(process, std::string(static_cast<size_t>(i), static_cast<char>('a' + process)));
        }
        _exit(0);
    }
    while (wait(nullptr) > 0) {
    }

    std::vector<size_t> next(kProcesses, 0);
    for (const BufferedEvent& event : readEventBuffer()) {
        const size_t process = static_cast<size_t>(event.eventId);
        ASSERT_LT(process, next.size());
        ASSERT_EQ(std::string(next[process]++, static_cast<char>('a' + process)), event.payload);
    }
    EXPECT_EQ(std::vector<size_t>(kProcesses, kRecords), next);
}

TEST_F(EventBuffer, RefusesRecordsOutsideADevice) {
    ASSERT_EQ(0, unlink("/dev/sysevents_buf"));

    EXPECT_GT(0, add(1, "x"));
    EXPECT_EQ(0u, readEventBuffer().size());
}

}  // namespace
