// The command-line tool for what libwardline reports and reads.

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "CommandLine.h"
#include "ExitCode.h"
#include "LibraryLog.h"
#include "Terminal.h"

int main(int argc, char** argv) {
    Job job;
    std::optional<int> code = readCommandLine(argc, argv, &job);
    if (!code) {
        showLibraryLog();
        code = job();
    }
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        complain(std::string("cannot write to standard output: ") + strerror(errno));
        code = kBadData;
    }
    _exit(*code);  // The library's watcher may be at work: nothing that it uses is destroyed.
}
