// The main program of the tests: GoogleTest's own, but for
//
//     PROGRAM --in-processes REPORT    runs each test in a process of its own (TestProcesses.h)

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include "TestProcesses.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc == 3 && strcmp(argv[1], "--in-processes") == 0)
        return runTestsInProcesses(argv[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    return RUN_ALL_TESTS();
}
