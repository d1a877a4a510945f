// The platform's system-event buffer: the two operations that its library exports. Their symbols
// encode exactly these argument types. The platform routes a record by its event id.
//
// Both copy the payload before they return; it stays the caller's. What they return is the
// platform's affair, and callers here ignore it.
#pragma once

/** Adds one record to the buffer. timeMs is the wall clock in milliseconds since the Unix epoch. */
int __android_sysevents_buf_writes(long timeMs, int eventId, const unsigned char* payload,
                                   int payloadLength);

/** The same for a record that the platform keeps in a file of its own: stability events. */
int __android_sysevents_buf_single_file_writes(long timeMs, int eventId,
                                               const unsigned char* payload, int payloadLength);
