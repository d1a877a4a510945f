#pragma once

/**
 * Runs a command with the device's stability driver at work: every record that it writes to
 * /dev/stabd is kept. Returns its exit code; 128 plus the signal number when a signal ended it, 127
 * when it could not be started.
 */
int runCommand(char** command);
