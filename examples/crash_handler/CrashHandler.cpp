// A crash handler: starts a program under ptrace, waits until it crashes, reports the crash to
// libwardline with what the kernel says about it, and lets the program die of its signal.
//
//     crash_handler [--as NAME] PROGRAM [ARG...]
//
// NAME becomes the program's argv[0], and with that the name that it is reported under. The exit
// code is 0 when the program crashed and was reported, else 1. A signal that the program handles
// itself is no crash.

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wardline/StabNotify.h>

#include <fstream>
#include <string>
#include <string_view>

namespace {

/** The process's own name for itself: the first argument in its command line. */
std::string processName(pid_t pid) {
    std::ifstream cmdline("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
    std::string name;
    std::getline(cmdline, name, '\0');
    return name;
}

/** True when the process has a handler of its own for the signal. */
bool isHandled(pid_t pid, int signo) {
    constexpr std::string_view kLabel = "SigCgt:";
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (!line.starts_with(kLabel)) continue;
        const unsigned long handled = std::stoul(line.substr(kLabel.size()), nullptr, 16);
        return (handled >> (signo - 1) & 1) != 0;
    }
    return false;
}

/** The signals that a program's own mistake at a memory address or an instruction raises. */
bool isFault(int signo) {
    return signo == SIGBUS || signo == SIGFPE || signo == SIGILL || signo == SIGSEGV ||
           signo == SIGTRAP;
}

bool isCrash(int signo) {
    return isFault(signo) || signo == SIGABRT || signo == SIGSYS;
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

/** Lets the process and all its threads run until they end; returns true when it crashed. */
bool watch(pid_t process) {
    bool crashed = false;
    int status = 0;
    for (pid_t thread; (thread = waitpid(-1, &status, __WALL)) > 0;) {
        if (!WIFSTOPPED(status)) continue;
        // Stops of ptrace's own, at exec and at the start of a thread, deliver no signal.
        const bool isOwn = status >> 16 != 0;
        const int signo = isOwn ? 0 : WSTOPSIG(status);
        if (!crashed && isCrash(signo) && !isHandled(process, signo)) {
            siginfo_t info = {};
            ptrace(PTRACE_GETSIGINFO, thread, nullptr, &info);
            reportCrash(process, info);
            crashed = true;
        }
        ptrace(PTRACE_CONT, thread, nullptr, signo);
    }
    return crashed;
}

/** Waits for the other end of the pipe to be closed, then becomes the program. */
[[noreturn]] void becomeProgram(const int (&gate)[2], char** program, char* name) {
    char unused;
    close(gate[1]);
    if (read(gate[0], &unused, sizeof(unused)) != 0) _exit(127);
    const char* const path = program[0];
    program[0] = name;
    execv(path, program);
    perror(path);
    _exit(127);
}

/** Starts the program under ptrace, with name as its argv[0]. Returns its pid, or -1 and errno. */
pid_t startTraced(char** program, char* name) {
    int gate[2];
    if (pipe2(gate, O_CLOEXEC) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) becomeProgram(gate, program, name);
    constexpr long kOptions = PTRACE_O_EXITKILL | PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC;
    const bool traced = child > 0 && ptrace(PTRACE_SEIZE, child, nullptr, kOptions) == 0;
    if (child > 0 && !traced) kill(child, SIGKILL);
    close(gate[0]);
    close(gate[1]);
    return traced ? child : -1;
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
        perror("crash_handler: cannot trace a process");
        return 1;
    }
    if (watch(child)) return 0;
    fprintf(stderr, "crash_handler: %s ended without a crash\n", program[0]);
    return 1;
}
