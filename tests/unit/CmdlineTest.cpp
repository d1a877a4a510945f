// android::getCmdline, in processes that were started with arguments of all kinds.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/Cmdline.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "support/DeviceTest.h"
#include "support/Meanwhile.h"
#include "support/ResourceLimit.h"

namespace {

using android::getCmdline;
using Arguments = std::vector<std::string>;

/** What getCmdline says in a process with these arguments, the first of them its name. */
std::string cmdlineOf(Arguments arguments) {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::string run = folder.parent_path() / "run";
    const std::string program = folder / "print_cmdline";
    arguments.insert(arguments.begin() + 1, program);
    arguments.insert(arguments.begin(), {"run", "--as"});
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int ends[2];
    EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
    if (fork() == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execv(run.c_str(), argv.data());
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char bytes[4096];
    for (ssize_t count; (count = read(ends[0], bytes, sizeof(bytes))) > 0;)
        output.append(bytes, static_cast<size_t>(count));
    close(ends[0]);
    int status = -1;
    wait(&status);
    EXPECT_EQ(0, status);
    return output;
}

class Cmdline : public DeviceTest {};

TEST_F(Cmdline, IsThisProcesssOwn) {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string expected;
    for (std::string argument; std::getline(file, argument, '\0');) {
        if (!expected.empty()) expected += ' ';
        expected += argument;
    }

    EXPECT_EQ(expected, getCmdline());
}

TEST_F(Cmdline, SeparatesArgumentsBySingleSpaces) {
    EXPECT_EQ("app -v --name value", cmdlineOf({"app", "-v", "--name", "value"}));
}

TEST_F(Cmdline, IsTheNameAloneWithoutArguments) {
    EXPECT_EQ("app", cmdlineOf({"app"}));
}

TEST_F(Cmdline, DropsEmptyArgumentsAtTheEnd) {
    EXPECT_EQ("app -v", cmdlineOf({"app", "-v", ""}));
    EXPECT_EQ("app -v", cmdlineOf({"app", "-v", "", "", ""}));
}

TEST_F(Cmdline, KeepsEmptyArgumentsInsideAsSpaces) {
    EXPECT_EQ("a  b", cmdlineOf({"a", "", "b"}));
    EXPECT_EQ("a    b", cmdlineOf({"a", "", "", "", "b", ""}));
}

TEST_F(Cmdline, KeepsAnEmptyNameInFrontAsASpace) {
    EXPECT_EQ(" b", cmdlineOf({"", "b"}));
}

TEST_F(Cmdline, IsEmptyWhenAllArgumentsAre) {
    EXPECT_EQ("", cmdlineOf({""}));
    EXPECT_EQ("", cmdlineOf({"", "", ""}));
}

TEST_F(Cmdline, ChangesNoOtherByte) {
    EXPECT_EQ("a b\t\nc \x01\x7f \xff\xc3\xa4 % \\ ",
              cmdlineOf({"a b\t\nc", "\x01\x7f", "\xff\xc3\xa4", "%", "\\ "}));
}

TEST_F(Cmdline, DropsNothingButNulsAtTheEnd) {
    for (const char* end : {" ", "\n", "\t", "\r", "\x01", "\xff", "0"}) {
        EXPECT_EQ(std::string("a b") + end, cmdlineOf({"a", std::string("b") + end, ""}));
    }
}

TEST_F(Cmdline, IsWholeHoweverLong) {
    const std::string first(100'000, 'x');
    const std::string second(100'000, 'y');

    EXPECT_EQ("app " + first + " " + second, cmdlineOf({"app", first, second}));
}

TEST_F(Cmdline, ReadsTheFileWithoutFollowingALinkAndDoesNothingElse) {
    getCmdline();

    EXPECT_EQ((std::vector<std::string>{"ReadFileToString /proc/self/cmdline"}), calls());
}

TEST_F(Cmdline, IsReadAnewByEveryCall) {
    answerFileReads("a", true);
    EXPECT_EQ("a", getCmdline());

    answerFileReads("b", true);
    EXPECT_EQ("b", getCmdline());
}

TEST_F(Cmdline, IsEmptyForAnEmptyFile) {
    answerFileReads("", true);

    EXPECT_EQ("", getCmdline());
}

TEST_F(Cmdline, IsEmptyWhenThereIsNoDescriptorLeft) {
    const ResourceLimit limit(RLIMIT_NOFILE, 0);

    EXPECT_EQ("", getCmdline());

    EXPECT_EQ((std::vector<std::string>{"ReadFileToString /proc/self/cmdline"}), calls());
}

TEST_F(Cmdline, IsWhatAFailedReadHasLeft) {
    const std::string left("a\0b\0", 4);
    answerFileReads(left, false);

    EXPECT_EQ(left, getCmdline());
}

TEST_F(Cmdline, DoesNotWaitForAnotherReading) {
    bool isFirst = true;
    observeCalls([&](const std::string&) {
        if (std::exchange(isFirst, false)) doMeanwhile([] { getCmdline(); });
    });

    EXPECT_NE("", getCmdline());
}

}  // namespace
