/**
 * An owner of typed key/value pairs, with which a sample is described and reported in a few lines:
 *
 *     android::MemKVPairArray sample;
 *     sample.addUint64("MemFree", freeKb);
 *     sample.addString("Name", "system_server");
 *     android::reportMemMonitorEvent(sample.data(), sample.size());
 *
 * Everything is inline: the library exports none of it.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <wardline/MemKVPair.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace android {

/**
 * An array of pairs that grows, and releases what it holds.
 *
 * Each add function appends one pair, with a copy of the value; keys and texts may be empty and hold
 * any bytes. An allocation that fails raises std::bad_alloc and leaves the array as it was.
 *
 * Threads: no lock; one array belongs to one thread at a time.
 */
class MemKVPairArray {
  public:
    MemKVPairArray() = default;
    ~MemKVPairArray() {
        for (__MemKVPair& pair : pairs_)
            setMemKVPairValue(&pair, MEM_KV_TYPE_INT32, 0);
    }
    MemKVPairArray(const MemKVPairArray&) = delete;
    MemKVPairArray& operator=(const MemKVPairArray&) = delete;

    void addString(std::string key, const std::string& value) {
        add(std::move(key), MEM_KV_TYPE_STRING, &value);
    }
    void addInt32(std::string key, int32_t value) { add(std::move(key), MEM_KV_TYPE_INT32, value); }
    void addInt64(std::string key, int64_t value) { add(std::move(key), MEM_KV_TYPE_INT64, value); }
    void addUint32(std::string key, uint32_t value) {
        add(std::move(key), MEM_KV_TYPE_UINT32, value);
    }
    void addUint64(std::string key, uint64_t value) {
        add(std::move(key), MEM_KV_TYPE_UINT64, value);
    }
    /** Stores the value as it is; reportMemMonitorEvent() sends true in any case. */
    void addBool(std::string key, bool value) { add(std::move(key), MEM_KV_TYPE_BOOL, value); }
    void addDouble(std::string key, double value) {
        add(std::move(key), MEM_KV_TYPE_DOUBLE, value);
    }
    void addFloat(std::string key, float value) { add(std::move(key), MEM_KV_TYPE_FLOAT, value); }
    void addBytes(std::string key, const std::vector<unsigned char>& value) {
        add(std::move(key), MEM_KV_TYPE_BYTES, &value);
    }

    /** The pairs, in the order in which they were added; until the next is. Null in a new array. */
    __MemKVPair* data() { return pairs_.data(); }

    /** How many pairs there are. */
    size_t size() const { return size_; }

  private:
    using Pairs = std::vector<__MemKVPair>;  // Never resized, as pairs cannot be moved.

    template <typename Value>
    void add(std::string key, MemKVType type, Value value) {
        if (size_ == pairs_.size()) grow();
        __MemKVPair& pair = pairs_[size_];
        setMemKVPairValue(&pair, type, value);
        pair.key = std::move(key);
        ++size_;
    }

    void grow() {
        constexpr size_t kFirstPairs = 8;
        Pairs grown(std::max(kFirstPairs, 2 * pairs_.size()));
        for (size_t i = 0; i < size_; ++i)
            moveInto(grown[i], pairs_[i]);
        pairs_.swap(grown);
    }

    /** Moves a pair into a new one. What stays behind holds nothing that must be released. */
    static void moveInto(__MemKVPair& target, __MemKVPair& source) {
        target.key.swap(source.key);
        target.type = source.type;
        if (source.type == MEM_KV_TYPE_STRING) {
            target.value.string_value.swap(source.value.string_value);
            return;
        }
        target.value.string_value.~basic_string();
        if (source.type == MEM_KV_TYPE_BYTES) {
            new (&target.value.bytes_value)
                std::vector<unsigned char>(std::move(source.value.bytes_value));
        } else {
            memcpy(static_cast<void*>(&target.value), &source.value, sizeof(target.value));
        }
    }

    Pairs pairs_;  // Those from size_ on are new.
    size_t size_ = 0;
};

}  // namespace android
