#pragma once

#include <sys/types.h>

#include <functional>

/** Asks again and again until the answer is yes; false when it is not by a deadline. */
bool eventually(const std::function<bool()>& isTrue);

/** Waits until a thread of this process sleeps or is gone; fails when it does not by a deadline. */
void awaitSleep(pid_t thread);

/** Waits until a thread of this process is gone; fails when it is not by a deadline. */
void awaitEnd(pid_t thread);
