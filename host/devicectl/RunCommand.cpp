#include "RunCommand.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

#include "records/DriverRecords.h"

using android::base::unique_fd;

namespace {

constexpr int kCannotStart = 127;
constexpr int kSignalBase = 128;
constexpr int kReopenMs = 100;  // Between attempts to open a node that is not there.

[[noreturn]] void execCommand(char** command, pid_t parent) {
    // Nobody would collect the driver's records any more.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(kCannotStart);
    signal(SIGINT, SIG_DFL);
    signal(SIGQUIT, SIG_DFL);
    execvp(command[0], command);
    fprintf(stderr, "devicectl: cannot run %s: %s\n", command[0], strerror(errno));
    _exit(kCannotStart);
}

/** Takes what waits; a driver that is gone may come back, with a node that has to be opened anew. */
void serveNode(unique_fd& node, short events, bool& stored) {
    if ((events & (POLLHUP | POLLERR)) != 0) node.reset();
    if (!node.ok()) node.reset(openDriverNode());
    if (!node.ok() || collectDriverRecords(node.get()) || !stored) return;
    fputs("devicectl: driver records are lost: cannot write /dev/stabd.records\n", stderr);
    stored = false;
}

/** Collects driver records until the child has ended, and those that it left. */
void serveDriver(unique_fd node, pid_t child) {
    const unique_fd ended(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    if (!ended.ok()) return perror("devicectl: driver records are not kept");
    bool stored = true;
    bool running = true;
    while (running) {
        pollfd waits[] = {{ended.get(), POLLIN, 0}, {node.get(), POLLIN, 0}};
        if (poll(waits, 2, node.ok() ? -1 : kReopenMs) < 0) continue;  // EINTR
        running = (waits[0].revents & POLLIN) == 0;
        serveNode(node, waits[1].revents, stored);
    }
}

}  // namespace

int runCommand(char** command) {
    // As a shell does: the terminal's interrupt is for the command.
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    unique_fd node(openDriverNode());
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) execCommand(command, parent);
    if (child < 0) {
        perror("devicectl: cannot start a process");
        return kCannotStart;
    }

    if (node.ok()) serveDriver(std::move(node), child);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}
