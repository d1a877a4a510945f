// The command-line tool for what libwardline reports and reads.

#include <unistd.h>

#include "CommandLine.h"
#include "LibraryLog.h"
#include "Terminal.h"

int main(int argc, char** argv) {
    Job job;
    std::optional<int> code = readCommandLine(argc, argv, &job);
    if (!code) {
        showLibraryLog();
        code = job();
    }
    // The library's watcher may be at work: nothing that it uses is destroyed.
    _exit(withOutput(*code));
}
