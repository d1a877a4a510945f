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
 * Each add function appends one pair, with a copy of the value, which may lie in the array itself;
 * keys and texts may be empty and hold any bytes. An allocation that fails raises std::bad_alloc and
 * leaves the array as it was.
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

    /** Takes the pairs of another array, which is as a new one then. */
    MemKVPairArray(MemKVPairArray&& other) noexcept { swap(other); }

    /** The same, after which the pairs that this one held are released. Arrays are not copied. */
    MemKVPairArray& operator=(MemKVPairArray other) noexcept {
        swap(other);
        return *this;
    }

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
    void addFloat(std::string key, float value) {
        add(std::move(key), MEM_KV_TYPE_FLOAT, static_cast<double>(value));
    }
    void addBytes(std::string key, const std::vector<unsigned char>& value) {
        add(std::move(key), MEM_KV_TYPE_BYTES, &value);
    }

    /**
     * The pairs, in the order in which they were added; until the next is. Null in a new array. They
     * may be set anew by setMemKVPairValue(), but a tag is never to be assigned.
     */
    __MemKVPair* data() { return pairs_.data(); }

    /** How many pairs there are. */
    size_t size() const { return size_; }

  private:
    using Pairs = std::vector<__MemKVPair>;  // Never resized, as pairs cannot be moved.

    template <typename Value>
    void add(std::string key, MemKVType type, Value value) {
        constexpr size_t kFirstPairs = 8;
        Pairs grown(size_ == pairs_.size() ? std::max(kFirstPairs, 2 * size_) : 0);
        __MemKVPair& pair = grown.empty() ? pairs_[size_] : grown[size_];
        setMemKVPairValue(&pair, type, value);  // While all pairs are where the value may lie.
        pair.key = std::move(key);
        if (!grown.empty()) moveInto(grown);
        ++size_;
    }

    void moveInto(Pairs& grown) {
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
            // Every number begins where the union does and takes no more bytes than this one.
            memcpy(&target.value.uint64_value, &source.value.uint64_value, sizeof(uint64_t));
        }
    }

    void swap(MemKVPairArray& other) noexcept {
        pairs_.swap(other.pairs_);
        std::swap(size_, other.size_);
    }

    Pairs pairs_;  // Those from size_ on hold no buffer.
    size_t size_ = 0;
};

}  // namespace android
