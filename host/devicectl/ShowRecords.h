#pragma once

#include <stddef.h>

// Both print from the record with index first on, oldest first, named fields and a hex dump.

/** Prints the records that the stability driver got. */
void showDriverRecords(size_t first);

/** Prints the records in the event buffer; those with a known id decoded. */
void showEvents(size_t first);
