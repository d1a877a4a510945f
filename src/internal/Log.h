// The log macros of <log/log.h> with the tag of the whole library.
#pragma once

#define LOG_TAG "libwardline"

#include <log/log.h>
