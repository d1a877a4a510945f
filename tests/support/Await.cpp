#include "Await.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace {

/** What the kernel calls a thread's state, or 0 when there is no such thread. */
char stateOf(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    // The state follows the name, which is in parentheses and may contain some.
    std::string line;
    std::getline(file, line);
    const size_t nameEnd = line.rfind(") ");
    return nameEnd == std::string::npos ? '\0' : line[nameEnd + 2];
}

}  // namespace

bool eventually(const std::function<bool()>& isTrue) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

void awaitSleep(pid_t thread) {
    EXPECT_TRUE(eventually([=] { return stateOf(thread) == 'S' || stateOf(thread) == '\0'; }));
}

void awaitEnd(pid_t thread) {
    EXPECT_TRUE(eventually([=] { return stateOf(thread) == '\0'; }));
}
