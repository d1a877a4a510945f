#pragma once

#include <stdio.h>

#include <memory>

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};

/** Owns one stdio stream; a failure to flush or to close it is not reported. */
using ScopedFile = std::unique_ptr<FILE, FileCloser>;
