// The report of tests that ran in processes of their own.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "support/JUnitReport.h"

namespace {

std::string written(const JUnitReport& report) {
    const std::string path = testing::TempDir() + "/junit_report_test.xml";
    EXPECT_TRUE(report.write(path));
    std::ifstream file(path);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    std::remove(path.c_str());
    return content;
}

TEST(JUnitReport, HasASuiteOfItsTests) {
    JUnitReport report("Program");
    report.add("Suite.Passes", 0.5, "");
    report.add("All/Suite.Fails/0", 1.25, "exit code 1\nwhat it printed\n");

    EXPECT_EQ(2u, report.tests());
    EXPECT_EQ(1u, report.failures());
    EXPECT_EQ(R"(<testsuite name="Program" tests="2" failures="1" time="1.75">
  <testcase classname="Suite" name="Passes" time="0.5"/>
  <testcase classname="All/Suite" name="Fails/0" time="1.25"><failure message="exit code 1">exit code 1
what it printed
</failure></testcase>
</testsuite>
)",
              written(report));
}

TEST(JUnitReport, HasAnyOutputAsText) {
    JUnitReport report("P");
    report.add("S.T", 0, std::string("<a b=\"c\"> & \t\xc3\xa4\x01\0", 17));

    const std::string expected =
        ">&lt;a b=&quot;c&quot;&gt; &amp; \t" + std::string(4, '?') + "</failure>";
    EXPECT_NE(std::string::npos, written(report).find(expected)) << written(report);
}

TEST(JUnitReport, TellsWhenItCannotBeWritten) {
    EXPECT_FALSE(JUnitReport("P").write("/dev/full"));
    EXPECT_FALSE(JUnitReport("P").write("/no/such/folder/report.xml"));
}

}  // namespace
