#pragma once

// A test program that links this notes the library's calls to the C library that concern a path or
// the umask, in one order with its other calls (see PlatformTrace.h), before they are passed on:
//
//     stat <path>
//     umask <octal>
//     mkdir <path> <octal>
//     fopen <path> <mode>
//     chmod <path> <octal>
//
// Calls of the test itself and of other libraries are not noted.
