// The workstation device's stability driver, as scripts/device runs it.

#include <gtest/gtest.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <thread>
#include <vector>

#include "records/DriverRecords.h"

namespace {

TEST(DriverRecords, AreListedInOrderAsSoonAsTheyAreWritten) {
    const size_t before = listDriverRecords().size();

    notify_extra_log_finish(1);
    notify_extra_log_finish(2);

    const auto records = listDriverRecords();
    ASSERT_EQ(before + 2, records.size());
    EXPECT_EQ(1, records[before].pid);
    EXPECT_EQ(2, records[before + 1].pid);
    EXPECT_EQ(10u, records[before].event_type);
}

TEST(DriverRecords, AreNotLostWhenTheyAreMoreThanTheNodeHolds) {
    constexpr int kThreads = 8;
    constexpr int kReports = 10000;
    const size_t before = listDriverRecords().size();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kReports; ++i)
                notify_extra_log_finish(thread * kReports + i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    const auto records = listDriverRecords();
    std::vector<int> next(kThreads, 0);
    for (size_t i = before; i < records.size(); ++i) {
        ASSERT_EQ(10u, records[i].event_type);
        const int thread = records[i].pid / kReports;
        ASSERT_EQ(next.at(static_cast<size_t>(thread))++, records[i].pid % kReports);
    }
    EXPECT_EQ(std::vector<int>(kThreads, kReports), next);
}

TEST(DriverRecords, AreReadOnFromTheLatestOne) {
    DriverRecordReader reader;
    while (reader.next()) {
    }
    notify_extra_log_finish(1);
    EXPECT_EQ(1, reader.next()->pid);
    EXPECT_FALSE(reader.next());

    notify_extra_log_finish(2);
    notify_extra_log_finish(3);

    EXPECT_EQ(2, reader.next()->pid);
    EXPECT_EQ(3, reader.next()->pid);
    EXPECT_FALSE(reader.hasRestarted());
}

TEST(DriverRecords, AreReadFromTheStartAfterAReboot) {
    DriverRecordReader reader;
    notify_extra_log_finish(1);
    while (reader.next()) {
    }
    ASSERT_EQ(0, rename("/dev/stabd.records", "/dev/stabd.records.away"));
    EXPECT_FALSE(reader.next());

    notify_extra_log_finish(2);

    EXPECT_EQ(2, reader.next()->pid);
    EXPECT_TRUE(reader.hasRestarted());
    rename("/dev/stabd.records.away", "/dev/stabd.records");
}

TEST(DriverRecords, StayListedWhenTheNodeIsGone) {
    notify_extra_log_finish(1);
    const size_t before = listDriverRecords().size();
    ASSERT_EQ(0, rename("/dev/stabd", "/dev/stabd.away"));

    EXPECT_EQ(before, listDriverRecords().size());

    rename("/dev/stabd.away", "/dev/stabd");
}

}  // namespace
