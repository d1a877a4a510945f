#include "see/Follow.h"

#include <poll.h>
#include <stdio.h>
#include <unistd.h>

bool waitForMore() {
    constexpr int kWaitMs = 200;
    if (fflush(stdout) != 0) return false;
    pollfd output = {STDOUT_FILENO, 0, 0};
    return poll(&output, 1, kWaitMs) <= 0;
}
