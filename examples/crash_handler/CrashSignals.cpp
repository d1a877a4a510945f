#include "CrashSignals.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kCrashSignals[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP};

int crashSocket = -1;
alignas(16) char stack[65536];  // Of the main thread, whose own may be what has overflown.

/** Runs in a process of unknown state: system calls only. */
void onCrashSignal(int signo, siginfo_t* info, void*) {
    const CrashMessage message = {getpid(), *info};
    if (send(crashSocket, &message, sizeof(message), MSG_NOSIGNAL) == sizeof(message)) {
        char answer = 0;
        while (recv(crashSocket, &answer, sizeof(answer), 0) < 0 && errno == EINTR) {
        }
    }
    // Ends the process when this function returns: a fault happens again, another signal is sent again.
    signal(signo, SIG_DFL);
    const bool isFault = signo == SIGBUS || signo == SIGFPE || signo == SIGILL || signo == SIGSEGV;
    if (isFault && info->si_code > 0) return;
    syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signo, info);
}

}  // namespace

void handleCrashSignals() {
    const char* const socketNumber = getenv(kCrashSocketVariable);
    if (socketNumber == nullptr) return;
    crashSocket = atoi(socketNumber);

    const stack_t alternative = {stack, 0, sizeof(stack)};
    sigaltstack(&alternative, nullptr);
    for (const int signo : kCrashSignals) {
        struct sigaction action = {};
        if (sigaction(signo, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_sigaction = onCrashSignal;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigfillset(&action.sa_mask);
        sigaction(signo, &action, nullptr);
    }
}
