#include "TestProcesses.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include "JUnitReport.h"
#include "records/LockedFile.h"

namespace {

constexpr int kTimeoutMs = 300000;

std::vector<std::string> testNames() {
    std::vector<std::string> names;
    const testing::UnitTest& program = *testing::UnitTest::GetInstance();
    for (int i = 0; i < program.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *program.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j)
            names.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(j)->name());
    }
    return names;
}

[[noreturn]] void becomeTest(const std::string& name, int output) {
    setpgid(0, 0);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    close(output);
    testing::GTEST_FLAG(filter) = name;
    const int result = RUN_ALL_TESTS();
    exit(testing::UnitTest::GetInstance()->test_to_run_count() == 1 ? result : EXIT_FAILURE);
}

/** Waits for a child and says how it ended, nothing when that is well. */
std::string awaitEnd(pid_t child) {
    const int ended = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    pollfd wait = {ended, POLLIN, 0};
    const bool isLate = poll(&wait, 1, kTimeoutMs) == 0;
    close(ended);
    kill(-child, SIGKILL);  // Also whom the test has started.
    int status = 0;
    waitpid(child, &status, 0);
    if (isLate) return "not done in time";
    if (WIFSIGNALED(status)) return strsignal(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : "exit code " + std::to_string(WEXITSTATUS(status));
}

std::string contentOf(int file) {
    struct stat status = {};
    fstat(file, &status);
    std::string content(static_cast<size_t>(status.st_size), '\0');
    content.resize(static_cast<size_t>(pread(file, content.data(), content.size(), 0)));
    return content;
}

/** Runs one test. Returns nothing when it passed, else how it ended and what it printed. */
std::string runTest(const std::string& name) {
    const int output = memfd_create("output", MFD_CLOEXEC);
    const pid_t child = fork();
    if (child == 0) becomeTest(name, output);
    std::string failure = child > 0 ? awaitEnd(child) : "no process to be had";
    if (!failure.empty()) failure += "\n" + contentOf(output);
    close(output);
    return failure;
}

}  // namespace

bool runTestsInProcesses(const std::string& reportPath) {
    using std::chrono::steady_clock;
    // While this is held, nobody else takes records from the driver.
    const auto lock = openLocked("/dev/stabd.records", O_WRONLY | O_CREAT, LOCK_EX);
    JUnitReport report(std::filesystem::path(reportPath).stem());
    for (const std::string& name : testNames()) {
        const auto start = steady_clock::now();
        const std::string failure = runTest(name);
        const std::chrono::duration<double> duration = steady_clock::now() - start;
        report.add(name, duration.count(), failure);
        printf("%s %s (%.0f ms)\n%s", failure.empty() ? "passed" : "FAILED", name.c_str(),
               duration.count() * 1000, failure.c_str());
        fflush(stdout);
    }
    return report.write(reportPath) && report.tests() > 0 && report.failures() == 0;
}
