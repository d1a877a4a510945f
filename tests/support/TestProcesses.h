#pragma once

#include <string>

/**
 * Runs every test of this program in a child process that has done nothing else yet, and prints the
 * result of each; a test that takes longer than five minutes is killed. Writes a suite of a JUnit file to
 * reportPath. True when there were tests, all of them passed, and the report was written.
 */
bool runTestsInProcesses(const std::string& reportPath);
