// A crash handler: starts a program that tells it about its crash (CrashSignals.h), reports the
// crash to libwardline, and lets the program die of its signal.
//
//     crash_handler PROGRAM [ARG...]
//
// The exit code is 0 when the program crashed and was reported, else 1. A signal that the program
// handles itself is no crash.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <fstream>
#include <string>

#include "CrashSignals.h"

namespace {

/** The process's own name for itself: the first argument in its command line. */
std::string processName(pid_t pid) {
    std::ifstream cmdline("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
    std::string name;
    std::getline(cmdline, name, '\0');
    return name;
}

/** The signals that a program's own mistake at a memory address or an instruction raises. */
bool isFault(int signo) {
    return signo == SIGBUS || signo == SIGFPE || signo == SIGILL || signo == SIGSEGV ||
           signo == SIGTRAP;
}

/** What the kernel tells about the signal; only a fault that it raised itself has an address. */
std::string describe(const siginfo_t& info) {
    char text[60];
    if (isFault(info.si_signo) && info.si_code > 0) {
        snprintf(text, sizeof(text), "code %d, fault address %p", info.si_code, info.si_addr);
    } else {
        snprintf(text, sizeof(text), "code %d", info.si_code);
    }
    return text;
}

void reportCrash(pid_t pid, const siginfo_t& info) {
    const std::string name = processName(pid);
    const std::string detail = describe(info);
    printf("%s crashed: pid %d, signal %d, %s\n", name.c_str(), pid, info.si_signo, detail.c_str());
    fflush(stdout);  // Before the library's log lines.

    notify_stab_ne(name.c_str(), pid, info.si_signo, info.si_code, detail.c_str());
}

/** Reports what comes until the last process that can send has ended; true if any crashed. */
bool serve(int crashes) {
    bool crashed = false;
    CrashMessage message;
    ssize_t size = 0;
    while ((size = recv(crashes, &message, sizeof(message), 0)) > 0) {
        if (size != sizeof(message)) continue;
        if (!crashed) reportCrash(message.pid, message.info);  // Its first crashing thread counts.
        crashed = true;
        send(crashes, "", 1, MSG_NOSIGNAL);
    }
    return crashed;
}

[[noreturn]] void becomeProgram(int crashes, char** program) {
    fcntl(crashes, F_SETFD, 0);  // Open over exec.
    setenv(kCrashSocketVariable, std::to_string(crashes).c_str(), /*overwrite=*/1);
    execv(program[0], program);
    perror(program[0]);
    _exit(127);
}

/** Runs the program to its end; true when it crashed and was reported. */
bool runAndServe(char** program) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        perror("crash_handler: cannot make a socket");
        return false;
    }
    const pid_t child = fork();
    if (child < 0) perror("crash_handler: cannot start a process");
    if (child == 0) becomeProgram(ends[1], program);
    close(ends[1]);
    const bool crashed = child > 0 && serve(ends[0]);
    close(ends[0]);
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return crashed;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '-') {
        fprintf(stderr, "usage: crash_handler PROGRAM [ARG...]\n");
        return 2;
    }

    if (runAndServe(argv + 1)) return 0;
    fprintf(stderr, "crash_handler: %s ended without a crash\n", argv[1]);
    return 1;
}
