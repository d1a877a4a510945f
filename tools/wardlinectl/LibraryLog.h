#pragma once

/** From now on, prints each line that the library logs to standard error: "E libwardline: text". */
void showLibraryLog();

/** The same, of failures alone. */
void showLibraryFailures();

/** Whether a line has told of a failure. The library's functions do not tell their callers. */
bool hasLibraryFailed();

/** Ends the program when a line tells that the configuration's watcher has ended. */
void endWithWatcher();
