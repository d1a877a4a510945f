/** The command line of the calling process, as one readable text. */
#pragma once

#include <wardline/Export.h>

#include <string>

namespace android {

/**
 * Reads the calling process's command line from /proc/self/cmdline.
 *
 * @return the arguments separated by single spaces. Empty arguments at the end are dropped, others
 *         leave two or more spaces in a row; an argument's own spaces are not marked. Other bytes
 *         are as the process was given them, or as it has overwritten them since. Empty for a
 *         process without arguments.
 *
 * Effects: none; nothing is logged.
 *
 * Errors: a file that cannot be opened, for instance for want of a descriptor, gives the empty
 * text; a reading that breaks off gives what was read, with its NULs. An allocation that fails
 * raises std::bad_alloc through the caller.
 *
 * Threads: any number at once.
 */
WARDLINE_EXPORT std::string getCmdline();

}  // namespace android
