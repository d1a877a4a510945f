// android::createMonitorPath: when it makes the monitor directory, what it answers, and the umask.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <wardline/MonitorPath.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/Meanwhile.h"
#include "support/MonitorTest.h"

namespace {

namespace fs = std::filesystem;

using android::createMonitorPath;
using Calls = std::vector<std::string>;

class MonitorPath : public MonitorTest {
  protected:
    // What the library does about the directory, and when it does not even try to make it.
    static inline const Calls kAttempt = {"stat /data/syslog/monitor/stabevent", "umask 0",
                                          "mkdir /data/syslog/monitor/stabevent 777", "umask 77"};
    static inline const Calls kQuery = {"stat /data/syslog/monitor/stabevent"};
};

TEST_F(MonitorPath, IsMadeByTheFirstCall) {
    EXPECT_TRUE(createMonitorPath());

    EXPECT_TRUE(fs::is_directory(kDirectory));
}

TEST_F(MonitorPath, IsRefusedByTheSecondCallAlthoughItIsThere) {
    createMonitorPath();

    EXPECT_FALSE(createMonitorPath());
    EXPECT_FALSE(createMonitorPath());

    EXPECT_TRUE(fs::is_directory(kDirectory));
}

TEST_F(MonitorPath, IsMadeAgainAfterItWasRemoved) {
    createMonitorPath();
    rmdir(kDirectory);

    EXPECT_TRUE(createMonitorPath());
}

TEST_F(MonitorPath, IsForEverybodyWhateverTheUmask) {
    for (const mode_t mask : {0U, 0022U, 0077U, 0777U}) {
        umask(mask);

        EXPECT_TRUE(createMonitorPath());

        EXPECT_EQ(0777, modeOf(kDirectory)) << "umask " << mask;
        EXPECT_EQ(mask, currentUmask());
        rmdir(kDirectory);
    }
}

TEST_F(MonitorPath, IsQueriedThenMadeUnderAnEmptyUmask) {
    createMonitorPath();

    EXPECT_EQ(kAttempt, calls());
}

TEST_F(MonitorPath, IsTriedToBeMadeAlsoWhenItIsThere) {
    mkdir(kDirectory, 0700);

    EXPECT_FALSE(createMonitorPath());

    EXPECT_EQ(kAttempt, calls());
}

TEST_F(MonitorPath, IsLeftAsItIsWhenItIsThere) {
    mkdir(kDirectory, 0700);
    writeContent(std::string(kDirectory) + "/file", "content");

    createMonitorPath();

    EXPECT_EQ(0700, modeOf(kDirectory));
    EXPECT_EQ("content", contentOf(std::string(kDirectory) + "/file"));
}

// What else may be at the path.

void makeFile(const char* path) {
    writeContent(path, "content");
    chmod(path, 0600);
}

void makeSocket(const char* path) {
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(0, bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    close(fd);
}

struct Occupant {
    const char* name;
    std::function<void(const char* path)> make;
    bool result;    // What createMonitorPath answers.
    int error = 0;  // errno afterwards, where it answers false.
};

void PrintTo(const Occupant& occupant, std::ostream* out) {
    *out << occupant.name;
}

class MonitorPathAt : public MonitorPath, public testing::WithParamInterface<Occupant> {
  protected:
    MonitorPathAt() { GetParam().make(kDirectory); }
};

TEST_P(MonitorPathAt, AnswersByTheRule) {
    errno = 0;

    EXPECT_EQ(GetParam().result, createMonitorPath());

    if (!GetParam().result) {
        EXPECT_EQ(GetParam().error, errno);
    }
}

TEST_P(MonitorPathAt, LeavesTheUmaskAsItWas) {
    createMonitorPath();

    EXPECT_EQ(0077u, currentUmask());
}

TEST_P(MonitorPathAt, TouchesTheUmaskOnlyToMakeADirectory) {
    createMonitorPath();

    EXPECT_EQ(GetParam().result ? kQuery : kAttempt, calls());
}

TEST_P(MonitorPathAt, ChangesNothing) {
    const auto before = fs::symlink_status(kDirectory);

    createMonitorPath();

    const auto after = fs::symlink_status(kDirectory);
    EXPECT_EQ(before.type(), after.type());
    EXPECT_EQ(before.permissions(), after.permissions());
    EXPECT_FALSE(fs::exists("/data/syslog/monitor/missing"));
}

const Occupant kOccupants[] = {
    {"file", makeFile, true},
    {"fifo", [](const char* path) { mkfifo(path, 0600); }, true},
    {"socket", makeSocket, true},
    {"link_to_file",
     [](const char* path) {
         makeFile("/data/syslog/monitor/file");
         fs::create_symlink("file", path);
     },
     true},
    {"link_to_device", [](const char* path) { fs::create_symlink("/dev/null", path); }, true},
    {"directory", [](const char* path) { mkdir(path, 0700); }, false, EEXIST},
    {"link_to_directory",
     [](const char* path) {
         fs::create_directory("/data/syslog/monitor/directory");
         fs::create_symlink("directory", path);
     },
     false, EEXIST},
    {"dangling_link", [](const char* path) { fs::create_symlink("missing", path); }, false, EEXIST},
    {"link_to_itself", [](const char* path) { fs::create_symlink(path, path); }, false, EEXIST},
};

std::string nameOf(const testing::TestParamInfo<Occupant>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Occupied, MonitorPathAt, testing::ValuesIn(kOccupants), nameOf);

// Where it cannot be made.

TEST_F(MonitorPath, IsNotMadeWithoutItsParent) {
    rmdir(kParent);

    EXPECT_FALSE(createMonitorPath());

    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(kAttempt, calls());
    EXPECT_FALSE(fs::exists(kParent));
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(MonitorPath, IsNotMadeBelowAFile) {
    rmdir(kParent);
    writeContent(kParent, "a file");

    EXPECT_FALSE(createMonitorPath());

    EXPECT_EQ(ENOTDIR, errno);
    EXPECT_EQ(kAttempt, calls());
    EXPECT_EQ(0077u, currentUmask());
    unlink(kParent);
}

TEST_F(MonitorPath, IsNotMadeInAnUnwritableParent) {
    const WithoutOverride ordinary;
    chmod(kParent, 0555);

    EXPECT_FALSE(createMonitorPath());

    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(kAttempt, calls());
    EXPECT_FALSE(fs::exists(kDirectory));
    EXPECT_EQ(0077u, currentUmask());
    chmod(kParent, 0755);
}

TEST_F(MonitorPath, IsNotMadeWhereItCannotBeLookedUp) {
    const WithoutOverride ordinary;
    chmod(kParent, 0);

    EXPECT_FALSE(createMonitorPath());

    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(kAttempt, calls());
    EXPECT_EQ(0077u, currentUmask());
    chmod(kParent, 0755);
}

// Threads.

TEST_F(MonitorPath, EmptiesTheUmaskOfTheWholeProcessWhileItIsMade) {
    const std::string file = std::string(kParent) + "/file";
    observeCalls([&](const std::string& call) {
        if (call.starts_with("mkdir")) doMeanwhile([&] { close(creat(file.c_str(), 0666)); });
    });

    createMonitorPath();

    EXPECT_EQ(0666, modeOf(file));
}

TEST_F(MonitorPath, DoesNotWaitForAnotherCall) {
    bool isFirst = true;
    bool inner = false;
    observeCalls([&](const std::string& call) {
        if (!call.starts_with("mkdir") || !std::exchange(isFirst, false)) return;
        doMeanwhile([&] { inner = createMonitorPath(); });
    });

    const bool outer = createMonitorPath();

    EXPECT_TRUE(inner);
    EXPECT_FALSE(outer);
    EXPECT_EQ(0077u, currentUmask());
}

TEST_F(MonitorPath, IsMadeByOneOfManyCallersAtOnce) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> makers = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                if (createMonitorPath()) ++makers;
            });
        }
        for (std::thread& thread : threads)
            thread.join();

        ASSERT_EQ(1, makers);
        rmdir(kDirectory);
    }
}

TEST_F(MonitorPath, LeavesTheUmaskAsItWasInEightThreadsThatAlsoMakeFiles) {
    std::mutex oneCallAtATime;
    std::mutex notes;
    std::set<int> modes;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&, file = std::string(kParent) + "/" + std::to_string(thread)] {
            for (int round = 0; round < 50; ++round) {
                close(creat(file.c_str(), 0666));
                {
                    const std::lock_guard lock(notes);
                    modes.insert(modeOf(file));
                }
                unlink(file.c_str());

                const std::lock_guard lock(oneCallAtATime);
                EXPECT_TRUE(createMonitorPath());
                EXPECT_EQ(0777, modeOf(kDirectory));
                EXPECT_EQ(0077u, currentUmask());
                EXPECT_FALSE(createMonitorPath());
                EXPECT_EQ(0077u, currentUmask());
                rmdir(kDirectory);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    // A file that was made while a directory was, got all that it asked for.
    modes.insert({0600, 0666});
    EXPECT_EQ((std::set<int>{0600, 0666}), modes);
    close(creat("/data/syslog/monitor/afterwards", 0666));
    EXPECT_EQ(0600, modeOf("/data/syslog/monitor/afterwards"));
}

}  // namespace
