#pragma once

#include <string>

#include "see/RecordWriter.h"

// The fields of single records, each to a writer. Unknown fields are shown too. Records are parsed by
// the runtime's own classes and must be whole: see salvage().

void showStabEvent(const std::string& record, RecordWriter& writer);
void showLockTimeout(const std::string& record, RecordWriter& writer);

/** Joins the elements that hold a key alone with those that follow and hold a value alone. */
void showMemEvent(const std::string& record, RecordWriter& writer);
