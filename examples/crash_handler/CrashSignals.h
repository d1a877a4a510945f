// The part of crash handling that runs in the crashing process, as the platform's dynamic linker
// brings it into each: it tells the crash handler about a crash, and waits until that has been
// reported before the process dies of its signal.
#pragma once

#include <signal.h>
#include <sys/types.h>

/** What the crashing process sends, as one packet; any byte in return lets it die. */
struct CrashMessage {
    pid_t pid;
    siginfo_t info;
};

/** In the environment: the number of the socket, of type SOCK_SEQPACKET, that leads to the handler. */
constexpr char kCrashSocketVariable[] = "CRASH_HANDLER_SOCKET";

/**
 * Handles the signals of a crash in this process from now on, if it was started by a crash handler.
 * A signal for which the process has a handler of its own, before or after this, is no crash.
 */
void handleCrashSignals();
