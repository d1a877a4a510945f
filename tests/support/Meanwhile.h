#pragma once

#include <functional>

/**
 * Runs work in a thread of its own while the caller waits. Ends the program when the work is not
 * done within a deadline: the caller holds a lock then that the work needs.
 */
void doMeanwhile(std::function<void()> work);
