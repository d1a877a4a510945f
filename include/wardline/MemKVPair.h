/**
 * Typed key/value pairs, in which a caller describes a sample of memory figures. The caller owns an
 * array of them, fills it and hands it to reportMemMonitorEvent().
 *
 * MemKVPairArray.h has an owner that does all of the following by itself. By hand, a pair goes
 * through these steps:
 *
 *     android::__MemKVPair pair{};                            // tag 0 and an empty string
 *     pair.key = "VmRSS";
 *     android::setMemKVPairValue(&pair, android::MEM_KV_TYPE_UINT64, uint64_t{5120});
 *     android::reportMemMonitorEvent(&pair, 1);
 *     android::setMemKVPairValue(&pair, android::MEM_KV_TYPE_INT32, 0);  // releases the value
 */
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <wardline/Export.h>

#include <string>
#include <vector>

namespace android {

/** Tags that tell which member of a pair's value is live. */
enum MemKVType : int32_t {
    MEM_KV_TYPE_STRING = 0,
    MEM_KV_TYPE_INT32 = 1,
    MEM_KV_TYPE_INT64 = 2,
    MEM_KV_TYPE_UINT32 = 3,
    MEM_KV_TYPE_UINT64 = 4,
    MEM_KV_TYPE_BOOL = 5,
    MEM_KV_TYPE_DOUBLE = 6,
    MEM_KV_TYPE_FLOAT = 7,
    MEM_KV_TYPE_BYTES = 8,
    MEM_KV_TYPE_NONE = 9,  // No member is. Such a pair cannot be reported.
};

/**
 * One pair. Its layout is part of the interface: pairs lie back to back in the caller's array.
 *
 * A new pair holds an empty key, tag 0 and an empty string. No pair is copied or moved, and its
 * destructor releases the key but not the value: before a pair goes, its owner must release a value
 * of tag 0 or 8, by setMemKVPairValue() to any number.
 */
struct __MemKVPair {
    /** One member is live, as the tag says; what ends its life is setMemKVPairValue(). */
    union Value {
        Value() : string_value() {}
        ~Value() {}  // NOLINT(modernize-use-equals-default): the default one would be deleted.

        std::string string_value;
        int32_t int32_value;
        int64_t int64_value;
        uint32_t uint32_value;
        uint64_t uint64_value;
        bool bool_value;
        double double_value;
        float float_value;
        std::vector<unsigned char> bytes_value;
    };

    std::string key;                    // Assigned by the caller; any bytes.
    int32_t type = MEM_KV_TYPE_STRING;  // A MemKVType, or what a failed call left.
    Value value;
};

#if defined(_LIBCPP_VERSION)
static_assert(sizeof(__MemKVPair) == 56);
static_assert(offsetof(__MemKVPair, key) == 0);
static_assert(offsetof(__MemKVPair, type) == 24);
static_assert(offsetof(__MemKVPair, value) == 32);
#elif defined(__GLIBCXX__)
static_assert(sizeof(__MemKVPair) == 72);
static_assert(offsetof(__MemKVPair, key) == 0);
static_assert(offsetof(__MemKVPair, type) == 32);
static_assert(offsetof(__MemKVPair, value) == 40);
#endif

/**
 * Stores one value in a pair, in the place of the one that it holds. The key is not touched.
 *
 * @param pair  the pair, which holds a value of its tag: a new one, or one that an earlier call set,
 *              whatever that returned. Stays the caller's; null gives false.
 * @param type  tag of the value, a MemKVType other than MEM_KV_TYPE_NONE; only its low 32 bits
 *              count, as a signed number.
 * @param ...   the value, which must have the type that the tag says; that is not checked:
 *                  MEM_KV_TYPE_STRING           const std::string*, copied; any bytes
 *                  MEM_KV_TYPE_INT32, _UINT32   int, unsigned int
 *                  MEM_KV_TYPE_INT64, _UINT64   int64_t, uint64_t: a plain 0 is no such number
 *                  MEM_KV_TYPE_BOOL             bool or int; other than zero is true
 *                  MEM_KV_TYPE_DOUBLE           double
 *                  MEM_KV_TYPE_FLOAT            float or double, rounded to the nearest float and
 *                                               infinite beyond the range of one
 *                  MEM_KV_TYPE_BYTES            const std::vector<unsigned char>*, copied
 *              What is pointed to stays the caller's, and must not be the pair's own value.
 * @return      true when the value was stored; false for an unknown tag or a null pointer.
 *
 * Effects: first the old value is released and the tag set, then the value is looked at. So a pair
 * has the new tag also when the call fails: with a null pointer an empty string or array of bytes,
 * with an unknown tag nothing. It may be set again or released then; reportMemMonitorEvent() sends
 * the empty value, but turns an array away that holds an unknown tag.
 *
 * Errors: an unknown tag is logged at ERROR, a null pointer is not:
 *
 *     Invalid value type: %d
 *
 * An array of bytes that ends before it begins ends the process, by the C++ library's length error.
 * An allocation that fails raises std::bad_alloc through the caller; the pair then holds an empty
 * value.
 *
 * Threads: no lock; one pair belongs to one thread at a time.
 */
WARDLINE_EXPORT bool setMemKVPairValue(__MemKVPair* pair, long type, ...);

}  // namespace android
