// Crashes in the way that its argument names:
//
//     victim segv             reads through a bad pointer
//     victim segv-in-thread   the same, in a second thread
//     victim trap             raises SIGTRAP
//     victim abort            calls abort()
//     victim abort-by-kernel  takes a SIGABRT that carries the kernel's signal code, 128
//     victim handled          takes a SIGSEGV that it handles, and ends well

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string_view>
#include <thread>

#include "CrashSignals.h"

namespace {

void readThroughBadPointer() {
    const volatile int* volatile pointer = reinterpret_cast<const int*>(0xdead0);
    printf("%d\n", *pointer);
}

/** A process may send itself a signal with any code, also with the one that the kernel uses. */
void abortByKernelCode() {
    siginfo_t info = {};
    info.si_signo = SIGABRT;
    info.si_code = SI_KERNEL;
    syscall(SYS_rt_sigqueueinfo, getpid(), SIGABRT, &info);
}

}  // namespace

int main(int argc, char** argv) {
    const rlimit noCoreFile = {0, 0};
    setrlimit(RLIMIT_CORE, &noCoreFile);
    handleCrashSignals();

    const std::string_view way = argc == 2 ? argv[1] : "";
    if (way == "segv") readThroughBadPointer();
    if (way == "segv-in-thread") std::thread(readThroughBadPointer).join();
    if (way == "trap") raise(SIGTRAP);
    if (way == "abort") abort();
    if (way == "abort-by-kernel") abortByKernelCode();
    if (way == "handled") {
        signal(SIGSEGV, [](int) {});
        return raise(SIGSEGV);
    }
    fprintf(stderr, "usage: victim segv|segv-in-thread|trap|abort|abort-by-kernel|handled\n");
    return 2;
}
