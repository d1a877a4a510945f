// A crash handler: starts a program under ptrace, waits until it crashes, reports the crash to
// libwardline with what the kernel says about it, and lets the program die of its signal.
//
//     crash_handler [--as NAME] PROGRAM [ARG...]
//
// NAME becomes the program's argv[0], and with that the name that it is reported under. The exit
// code is 0 when the program crashed and was reported, else 1.

#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <fstream>
#include <string>

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
    return signo == SIGBUS || signo == SIGFPE || signo == SIGILL || signo == SIGSEGV;
}

bool isCrash(int signo) {
    return isFault(signo) || signo == SIGABRT || signo == SIGSYS;
}

/** What the kernel tells about the signal; only faults have an address. */
std::string describe(const siginfo_t& info) {
    char text[60];
    if (isFault(info.si_signo)) {
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

/** Lets the child run until it ends; returns true when it crashed on the way. */
bool watch(pid_t child) {
    bool crashed = false;
    int status = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        siginfo_t info = {};
        ptrace(PTRACE_GETSIGINFO, child, nullptr, &info);
        if (isCrash(info.si_signo)) {
            reportCrash(child, info);
            crashed = true;
        }
        // The stop after exec is ptrace's own; every other signal is the child's to take.
        const int signal = info.si_signo == SIGTRAP ? 0 : info.si_signo;
        ptrace(PTRACE_CONT, child, nullptr, signal);
    }
    return crashed;
}

/** Starts the program under ptrace, with name as its argv[0]. Returns its pid, or -1. */
pid_t startTraced(char** program, char* name) {
    const pid_t child = fork();
    if (child != 0) return child;
    const char* const path = program[0];
    program[0] = name;
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execv(path, program);
    perror(path);
    _exit(127);
}

}  // namespace

int main(int argc, char** argv) {
    const bool isNamed = argc > 3 && strcmp(argv[1], "--as") == 0;
    char** const program = isNamed ? argv + 3 : argv + 1;
    if (argc < 2 || program[0][0] == '-') {
        fprintf(stderr, "usage: crash_handler [--as NAME] PROGRAM [ARG...]\n");
        return 2;
    }

    const pid_t child = startTraced(program, isNamed ? argv[2] : program[0]);
    if (child < 0) {
        perror("crash_handler: fork");
        return 1;
    }
    if (watch(child)) return 0;
    fprintf(stderr, "crash_handler: %s ended without a crash\n", program[0]);
    return 1;
}
