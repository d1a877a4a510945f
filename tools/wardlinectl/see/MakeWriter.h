#pragma once

#include <memory>

#include "see/RecordWriter.h"
#include "see/See.h"

/** The writer that the options ask for. */
std::unique_ptr<RecordWriter> makeWriter(const SeeOptions& options);
