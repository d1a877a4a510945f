// A test program that links this notes the library's calls to the C library that concern a path, the
// umask or the local time, in one order with its other calls (see PlatformTrace.h), before they are
// passed on:
//
//     stat <path>
//     umask <octal>
//     mkdir <path> <octal>
//     localtime
//     fopen <path> <mode>
//     chmod <path> <octal>
//
// Calls of the test itself and of other libraries are not noted.

#include <dlfcn.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <string>

#include "PlatformTrace.h"

namespace {

std::string octal(mode_t mode) {
    char text[16];
    snprintf(text, sizeof(text), "%o", mode);
    return text;
}

template <typename Function>
Function* next(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

int stat(const char* path, struct stat* status) noexcept {
    if (isOfLibrary(__builtin_return_address(0))) noteCall(std::string("stat ") + path);
    return next<int(const char*, struct stat*)>("stat")(path, status);
}

mode_t umask(mode_t mask) noexcept {
    if (isOfLibrary(__builtin_return_address(0))) noteCall("umask " + octal(mask));
    return next<mode_t(mode_t)>("umask")(mask);
}

int mkdir(const char* path, mode_t mode) noexcept {
    if (isOfLibrary(__builtin_return_address(0))) {
        noteCall(std::string("mkdir ") + path + " " + octal(mode));
    }
    return next<int(const char*, mode_t)>("mkdir")(path, mode);
}

tm* localtime(const time_t* time) noexcept {
    if (isOfLibrary(__builtin_return_address(0))) noteCall("localtime");
    return next<tm*(const time_t*)>("localtime")(time);
}

FILE* fopen(const char* path, const char* mode) {
    if (isOfLibrary(__builtin_return_address(0))) {
        noteCall(std::string("fopen ") + path + " " + mode);
    }
    return next<FILE*(const char*, const char*)>("fopen")(path, mode);
}

int chmod(const char* path, mode_t mode) noexcept {
    if (isOfLibrary(__builtin_return_address(0))) {
        noteCall(std::string("chmod ") + path + " " + octal(mode));
    }
    return next<int(const char*, mode_t)>("chmod")(path, mode);
}
