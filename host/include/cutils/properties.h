/*
 * The platform's property interface as a workstation offers it. The platform's own header of this
 * name needs a C library that has <sys/system_properties.h>.
 *
 * Values live in the device root (see scripts/device), shared by all of its processes. Outside a
 * device root each process has values of its own.
 */
#pragma once

#include <stdint.h>

/* Room for the longest value and its NUL. */
#define PROPERTY_VALUE_MAX 92

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Copies the value of key into value, which has room for PROPERTY_VALUE_MAX bytes, and returns its
 * length. An absent or empty value gives default_value, cut to that room, or "" when it is null.
 */
int property_get(const char* key, char* value, const char* default_value);

/*
 * The value as an integer, converted as strtoimax does with base 0: leading white space, a sign,
 * 0x and 0 prefixes, and the longest run of digits; what follows them is ignored. Gives
 * default_value when there are no digits or the number does not fit.
 */
int32_t property_get_int32(const char* key, int32_t default_value);

/*
 * Sets key to value; a null value is the empty one. Returns 0, or a negative number when the name
 * is no legal one (letters, digits and ".-_@:", no dot at either end, no two dots in a row) or
 * longer than 255 bytes, the value is longer than 91 bytes, the name begins with "ro." and has a
 * value already, or the value cannot be stored.
 */
int property_set(const char* key, const char* value);

#ifdef __cplusplus
}
#endif
