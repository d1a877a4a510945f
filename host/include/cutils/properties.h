/*
 * The platform's property interface as a workstation offers it. The platform's own header of this
 * name needs a C library that has <sys/system_properties.h>.
 *
 * Values live in the device root (see scripts/device), shared by all of its processes. Outside a
 * device root each process has values of its own.
 */
#pragma once

#include <stdint.h>

/* Room for the longest value and its NUL. A value that is written once may be longer. */
#define PROPERTY_VALUE_MAX 92

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Copies the value of key, cut to PROPERTY_VALUE_MAX bytes, into value, which has that room, and
 * returns the copy's length. An absent or empty value gives default_value, cut as well, or "" when
 * it is null.
 */
int property_get(const char* key, char* value, const char* default_value);

/*
 * The value as an integer: a sign, a 0x (hexadecimal) or 0 (octal) prefix and digits, with white
 * space around them. Gives default_value for anything else and for a number that does not fit.
 */
int32_t property_get_int32(const char* key, int32_t default_value);

/*
 * Sets key to value; a null value is the empty one. Returns 0, or a negative number when
 *  - the name is no legal one (letters, digits and ".-_@:", no dot at either end, no two dots in a
 *    row), or longer than 255 bytes in a device root;
 *  - the value is longer than 91 bytes, unless the name begins with "ro.";
 *  - the name begins with "ro." and the property exists already;
 *  - the value cannot be stored.
 */
int property_set(const char* key, const char* value);

#ifdef __cplusplus
}
#endif
