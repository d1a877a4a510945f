// android::MemKVPairArray: what callers of the library use to own their pairs.

#include <gtest/gtest.h>
#include <wardline/MemKVPairArray.h>

#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "support/Allocations.h"
#include "support/Errors.h"

namespace {

using android::__MemKVPair;
using android::MemKVPairArray;
using Bytes = std::vector<unsigned char>;

static_assert(!std::is_copy_constructible_v<MemKVPairArray>);
static_assert(!std::is_copy_assignable_v<MemKVPairArray>);

const std::string kLongText(100, 'x');

TEST(MemKVPairArray, IsNewWithoutAnyPair) {
    MemKVPairArray array;

    EXPECT_EQ(0u, array.size());
    EXPECT_EQ(nullptr, array.data());
}

TEST(MemKVPairArray, HoldsEachTypeUnderItsTag) {
    MemKVPairArray array;

    array.addString("string", "text");
    array.addInt32("int32", std::numeric_limits<int32_t>::min());
    array.addInt64("int64", std::numeric_limits<int64_t>::min());
    array.addUint32("uint32", std::numeric_limits<uint32_t>::max());
    array.addUint64("uint64", std::numeric_limits<uint64_t>::max());
    array.addBool("bool", true);
    array.addDouble("double", 0.1);
    array.addFloat("float", 0.1F);
    array.addBytes("bytes", {0, 255});

    ASSERT_EQ(9u, array.size());
    const __MemKVPair* const pairs = array.data();
    const char* const keys[] = {"string", "int32",  "int64", "uint32", "uint64",
                                "bool",   "double", "float", "bytes"};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(i, pairs[i].type);
        EXPECT_EQ(keys[i], pairs[i].key);
    }
    EXPECT_EQ("text", pairs[0].value.string_value);
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), pairs[1].value.int32_value);
    EXPECT_EQ(std::numeric_limits<int64_t>::min(), pairs[2].value.int64_value);
    EXPECT_EQ(std::numeric_limits<uint32_t>::max(), pairs[3].value.uint32_value);
    EXPECT_EQ(std::numeric_limits<uint64_t>::max(), pairs[4].value.uint64_value);
    EXPECT_TRUE(pairs[5].value.bool_value);
    EXPECT_EQ(0.1, pairs[6].value.double_value);
    EXPECT_EQ(0.1F, pairs[7].value.float_value);
    EXPECT_EQ((Bytes{0, 255}), pairs[8].value.bytes_value);
}

TEST(MemKVPairArray, KeepsEveryPairWhileItGrows) {
    constexpr size_t kRounds = 2500;
    const auto bytesOf = [](const std::string& text) { return Bytes(text.begin(), text.end()); };
    MemKVPairArray array;

    for (size_t i = 0; i < kRounds; ++i) {
        const std::string text = std::to_string(i);
        array.addString(text + kLongText, text);
        array.addString(text, text + kLongText);
        array.addBytes(text, bytesOf(text));
        array.addUint64(text, std::numeric_limits<uint64_t>::max() - i);
    }

    ASSERT_EQ(4 * kRounds, array.size());
    for (size_t i = 0; i < kRounds; ++i) {
        const __MemKVPair* const pairs = array.data() + 4 * i;
        const std::string text = std::to_string(i);
        ASSERT_EQ(text + kLongText, pairs[0].key);
        ASSERT_EQ(text, pairs[0].value.string_value);
        ASSERT_EQ(text, pairs[1].key);
        ASSERT_EQ(text + kLongText, pairs[1].value.string_value);
        ASSERT_EQ(bytesOf(text), pairs[2].value.bytes_value);
        ASSERT_EQ(std::numeric_limits<uint64_t>::max() - i, pairs[3].value.uint64_value);
    }
}

TEST(MemKVPairArray, TakesValuesThatLieInItself) {
    MemKVPairArray array;
    array.addString("", kLongText);
    array.addBytes("", Bytes(100, 7));

    for (int i = 0; i < 100; ++i) {
        array.addString("", array.data()[0].value.string_value);
        array.addBytes("", array.data()[1].value.bytes_value);
    }

    ASSERT_EQ(202u, array.size());
    for (size_t i = 0; i < array.size(); i += 2) {
        EXPECT_EQ(kLongText, array.data()[i].value.string_value);
        EXPECT_EQ(Bytes(100, 7), array.data()[i + 1].value.bytes_value);
    }
}

TEST(MemKVPairArray, MovesWithItsPairs) {
    Allocations allocations;
    {
        MemKVPairArray first;
        first.addString("first", kLongText);
        MemKVPairArray second;
        second.addString("second", kLongText);
        const __MemKVPair* const pairs = first.data();

        MemKVPairArray third = std::move(first);
        EXPECT_EQ(pairs, third.data());
        EXPECT_EQ(1u, third.size());

        third = std::move(second);
        ASSERT_EQ(1u, third.size());
        EXPECT_EQ("second", third.data()->key);
        EXPECT_EQ(1, allocations.heldOfSize(stringBytes(kLongText.size())));

        // NOLINTBEGIN(bugprone-use-after-move): they are as new ones.
        EXPECT_EQ(0u, first.size() + second.size());
        first.addString("again", kLongText);
        EXPECT_EQ("again", first.data()->key);
        // NOLINTEND(bugprone-use-after-move)
    }

    EXPECT_EQ(0, allocations.held());
}

TEST(MemKVPairArray, ReleasesEverythingThatItHeld) {
    const Bytes bytes(100);
    Allocations allocations;
    {
        MemKVPairArray array;
        for (int i = 0; i < 20; ++i) {
            array.addString(kLongText, kLongText);
            array.addBytes("", bytes);
            array.addInt32("", i);
        }
    }

    EXPECT_EQ(0, allocations.held());
}

TEST(MemKVPairArray, IsAsItWasWhenAnAllocationFails) {
    const std::string key = "key";
    const Bytes bytes(300);
    MemKVPairArray array;
    for (int i = 0; i < 8; ++i)
        array.addString(key, kLongText);
    {
        Allocations allocations;
        EXPECT_ERROR(
            {
                allocations.fail(300);
                array.addBytes("bytes", bytes);
            },
            std::bad_alloc);
        for (int i = 8; i < 16; ++i)
            array.addString(key, kLongText);
        EXPECT_ERROR(
            {
                allocations.fail(2 * 16 * sizeof(__MemKVPair));
                array.addInt32("int32", 1);
            },
            std::bad_alloc);
    }

    EXPECT_EQ(16u, array.size());
    array.addInt32("int32", 2);
    ASSERT_EQ(17u, array.size());
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(key, array.data()[i].key);
        EXPECT_EQ(kLongText, array.data()[i].value.string_value);
    }
    EXPECT_EQ(2, array.data()[16].value.int32_value);
}

}  // namespace
