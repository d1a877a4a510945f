// android::__MemKVPair and android::setMemKVPairValue: what a pair holds after each call.

#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>
#include <wardline/MemKVPair.h>

#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "support/Allocations.h"
#include "support/DeviceTest.h"

namespace {

using namespace android;
using Bytes = std::vector<unsigned char>;

static_assert(MEM_KV_TYPE_STRING == 0 && MEM_KV_TYPE_INT32 == 1 && MEM_KV_TYPE_INT64 == 2 &&
              MEM_KV_TYPE_UINT32 == 3 && MEM_KV_TYPE_UINT64 == 4 && MEM_KV_TYPE_BOOL == 5 &&
              MEM_KV_TYPE_DOUBLE == 6 && MEM_KV_TYPE_FLOAT == 7 && MEM_KV_TYPE_BYTES == 8 &&
              MEM_KV_TYPE_NONE == 9);
static_assert(std::is_same_v<int32_t, decltype(__MemKVPair::type)>);
static_assert(sizeof(__MemKVPair::Value) == sizeof(std::string));
// A copy would hold the value of another pair, and nobody would know whose it is.
static_assert(!std::is_copy_constructible_v<__MemKVPair> &&
              !std::is_copy_assignable_v<__MemKVPair>);

const std::string kLongText(100, 'x');
const std::string kOddText("a\0\xc3\x28\xff", 5);

class MemKVPair : public DeviceTest {
  protected:
    ~MemKVPair() override { release(); }

    /** Ends what the pair holds. */
    void release() { setMemKVPairValue(&pair_, MEM_KV_TYPE_INT32, 0); }

    bool set(const std::string& text) {
        return setMemKVPairValue(&pair_, MEM_KV_TYPE_STRING, &text);
    }
    bool set(const Bytes& bytes) { return setMemKVPairValue(&pair_, MEM_KV_TYPE_BYTES, &bytes); }

    bool setNullString() {
        return setMemKVPairValue(&pair_, MEM_KV_TYPE_STRING,
                                 static_cast<const std::string*>(nullptr));
    }
    bool setNullBytes() {
        return setMemKVPairValue(&pair_, MEM_KV_TYPE_BYTES, static_cast<const Bytes*>(nullptr));
    }

    static std::vector<LogLine> invalidType(const std::string& type) {
        return {{6, "libwardline", "Invalid value type: " + type}};
    }

    __MemKVPair pair_{};
};

TEST_F(MemKVPair, IsNewWithAnEmptyKeyTag0AndAnEmptyString) {
    EXPECT_EQ("", pair_.key);
    EXPECT_EQ(0, pair_.type);
    EXPECT_EQ("", pair_.value.string_value);
    EXPECT_NE(nullptr, pair_.value.string_value.data());
}

// Each type.

TEST_F(MemKVPair, HoldsACopyOfAString) {
    for (const std::string& text :
         {std::string(), std::string("short"), kOddText, kLongText, std::string(1 << 20, '\xff')}) {
        EXPECT_TRUE(set(text));

        EXPECT_EQ(0, pair_.type);
        EXPECT_EQ(text, pair_.value.string_value);
        EXPECT_NE(text.data(), pair_.value.string_value.data());
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsSigned32BitNumbers) {
    for (const int32_t number : {0, 1, -1, 123456, std::numeric_limits<int32_t>::min(),
                                 std::numeric_limits<int32_t>::max()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 1, number));

        EXPECT_EQ(1, pair_.type);
        EXPECT_EQ(number, pair_.value.int32_value);
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsSigned64BitNumbers) {
    for (const int64_t number :
         {int64_t{0}, int64_t{-1}, int64_t{1} << 40, std::numeric_limits<int64_t>::min(),
          std::numeric_limits<int64_t>::max()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 2, number));

        EXPECT_EQ(2, pair_.type);
        EXPECT_EQ(number, pair_.value.int64_value);
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsUnsigned32BitNumbers) {
    for (const uint32_t number : {0U, 1U, 1U << 31, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 3, number));

        EXPECT_EQ(3, pair_.type);
        EXPECT_EQ(number, pair_.value.uint32_value);
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsUnsigned64BitNumbers) {
    for (const uint64_t number : {uint64_t{0}, uint64_t{1} << 40, uint64_t{1} << 63,
                                  std::numeric_limits<uint64_t>::max()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 4, number));

        EXPECT_EQ(4, pair_.type);
        EXPECT_EQ(number, pair_.value.uint64_value);
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsTrueForEveryIntOtherThanZero) {
    for (const int number : {0, 1, 2, 256, -1, std::numeric_limits<int>::min()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 5, number));

        EXPECT_EQ(5, pair_.type);
        unsigned char byte = 0xff;
        memcpy(&byte, &pair_.value, sizeof(byte));
        EXPECT_EQ(number != 0 ? 1 : 0, byte) << number;
    }
    EXPECT_TRUE(setMemKVPairValue(&pair_, 5, true));
    EXPECT_TRUE(pair_.value.bool_value);
    EXPECT_TRUE(setMemKVPairValue(&pair_, 5, false));
    EXPECT_FALSE(pair_.value.bool_value);
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsDoubles) {
    for (const double number :
         {0.0, 0.1, -1e300, std::numeric_limits<double>::denorm_min(),
          std::numeric_limits<double>::infinity(), 1.0 + std::numeric_limits<double>::epsilon()}) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 6, number));

        EXPECT_EQ(6, pair_.type);
        EXPECT_EQ(number, pair_.value.double_value);
    }
    EXPECT_TRUE(setMemKVPairValue(&pair_, 6, -0.0));
    EXPECT_TRUE(std::signbit(pair_.value.double_value));
    EXPECT_TRUE(setMemKVPairValue(&pair_, 6, std::nan("")));
    EXPECT_TRUE(std::isnan(pair_.value.double_value));
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsTheFloatNearestToADouble) {
    const std::pair<double, float> roundings[] = {
        {0.0, 0.0F},   {0.1, 0.1F},       {16777217.0, 16777216.0F}, {16777219.0, 16777220.0F},
        {1e-60, 0.0F}, {1e300, INFINITY}, {-INFINITY, -INFINITY}};
    for (const auto& [number, nearest] : roundings) {
        EXPECT_TRUE(setMemKVPairValue(&pair_, 7, number));

        EXPECT_EQ(7, pair_.type);
        EXPECT_EQ(nearest, pair_.value.float_value);
    }
    EXPECT_TRUE(setMemKVPairValue(&pair_, 7, 2.5F));
    EXPECT_EQ(2.5F, pair_.value.float_value);
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsACopyOfAnArrayOfBytes) {
    for (const Bytes& bytes : {Bytes{0}, Bytes{0, 255, 128}, Bytes(1 << 20, 7)}) {
        EXPECT_TRUE(set(bytes));

        EXPECT_EQ(8, pair_.type);
        EXPECT_EQ(bytes, pair_.value.bytes_value);
        EXPECT_NE(bytes.data(), pair_.value.bytes_value.data());
    }
    EXPECT_TRUE(calls().empty());
}

TEST_F(MemKVPair, HoldsAnArrayOfNoBytesWithoutABuffer) {
    Bytes none;
    none.reserve(100);

    EXPECT_TRUE(set(none));

    EXPECT_EQ(8, pair_.type);
    EXPECT_EQ(nullptr, pair_.value.bytes_value.data());
    EXPECT_EQ(0u, pair_.value.bytes_value.capacity());
}

TEST_F(MemKVPair, LeavesTheSourceAsItWas) {
    const std::string text = kLongText;
    const Bytes bytes = {1, 2, 3};

    set(text);
    set(bytes);

    EXPECT_EQ(kLongText, text);
    EXPECT_EQ((Bytes{1, 2, 3}), bytes);
}

TEST_F(MemKVPair, KeepsItsKey) {
    pair_.key = kLongText;

    set(kOddText);
    EXPECT_EQ(kLongText, pair_.key);
    setMemKVPairValue(&pair_, 4, uint64_t{1});
    EXPECT_EQ(kLongText, pair_.key);
    setNullBytes();
    EXPECT_EQ(kLongText, pair_.key);
    setMemKVPairValue(&pair_, 12);
    EXPECT_EQ(kLongText, pair_.key);
}

TEST_F(MemKVPair, LiesBackToBackWithTheNext) {
    __MemKVPair pairs[2];
    const size_t pairBytes = 2 * sizeof(std::string) + sizeof(int64_t);

    setMemKVPairValue(&pairs[0], 4, std::numeric_limits<uint64_t>::max());
    setMemKVPairValue(&pairs[1], 1, 7);

    EXPECT_EQ(pairBytes, static_cast<size_t>(reinterpret_cast<char*>(&pairs[1]) -
                                             reinterpret_cast<char*>(&pairs[0])));
    EXPECT_EQ(1, pairs[1].type);
    EXPECT_EQ("", pairs[1].key);
}

// The tag.

TEST_F(MemKVPair, RefusesATypeThatItDoesNotKnowAndKeepsItAsItsTag) {
    for (const long type : {9L, 10L, 12L, -1L, 2147483647L, -2147483648L}) {
        resetTrace();

        EXPECT_FALSE(setMemKVPairValue(&pair_, type, 1));

        EXPECT_EQ(type, pair_.type);
        EXPECT_EQ(invalidType(std::to_string(type)), logLines());
    }
}

TEST_F(MemKVPair, TakesTheLow32BitsOfATypeAsSigned) {
    EXPECT_TRUE(setMemKVPairValue(&pair_, 0x7'0000'0002L, int64_t{5}));
    EXPECT_EQ(2, pair_.type);
    EXPECT_EQ(5, pair_.value.int64_value);
    EXPECT_TRUE(set(kLongText));
    EXPECT_TRUE(setMemKVPairValue(&pair_, -0x1'0000'0000L, &kOddText));
    EXPECT_EQ(kOddText, pair_.value.string_value);
    EXPECT_TRUE(calls().empty());

    EXPECT_FALSE(setMemKVPairValue(&pair_, 0xffff'fffeL));
    EXPECT_EQ(-2, pair_.type);
    EXPECT_EQ(invalidType("-2"), logLines());
}

// Null pointers.

TEST_F(MemKVPair, IsAnEmptyStringSilentlyAfterANullString) {
    for (const auto& before :
         {std::function([&] { set(kLongText); }), std::function([&] { set(Bytes(100)); }),
          std::function([&] { setMemKVPairValue(&pair_, 2, int64_t{-1}); }),
          std::function([&] { setNullString(); }),
          std::function([&] { setMemKVPairValue(&pair_, 12); })}) {
        before();
        resetTrace();

        EXPECT_FALSE(setNullString());

        EXPECT_EQ(0, pair_.type);
        EXPECT_EQ("", pair_.value.string_value);
        EXPECT_TRUE(calls().empty());
    }
}

TEST_F(MemKVPair, IsAnEmptyArraySilentlyAfterANullArray) {
    for (const auto& before :
         {std::function([&] { set(kLongText); }), std::function([&] { set(Bytes(100)); }),
          std::function([&] { setMemKVPairValue(&pair_, 2, int64_t{-1}); }),
          std::function([&] { setNullBytes(); }),
          std::function([&] { setMemKVPairValue(&pair_, 12); })}) {
        before();
        resetTrace();

        EXPECT_FALSE(setNullBytes());

        EXPECT_EQ(8, pair_.type);
        EXPECT_EQ(nullptr, pair_.value.bytes_value.data());
        EXPECT_EQ(0u, pair_.value.bytes_value.size());
        EXPECT_TRUE(calls().empty());
    }
}

TEST_F(MemKVPair, MayBeSetAgainAfterANullPointer) {
    set(kLongText);
    setNullString();
    EXPECT_TRUE(set(kOddText));
    EXPECT_EQ(kOddText, pair_.value.string_value);
    setNullBytes();
    EXPECT_TRUE(set(Bytes{1}));
    EXPECT_EQ(Bytes{1}, pair_.value.bytes_value);
}

TEST_F(MemKVPair, MayBeReleasedAfterANullPointer) {
    Allocations allocations;

    set(kLongText);
    setNullString();
    release();
    EXPECT_EQ(0, allocations.held());
    set(Bytes(100));
    setNullBytes();
    release();
    EXPECT_EQ(0, allocations.held());
}

TEST_F(MemKVPair, ThatIsNullStoresNothingSilently) {
    EXPECT_FALSE(setMemKVPairValue(nullptr, 1, 5));
    EXPECT_FALSE(setMemKVPairValue(nullptr, 12, 5));

    EXPECT_TRUE(calls().empty());
}

// Buffers.

TEST_F(MemKVPair, CopiesIntoABufferOfExactlyTheLength) {
    std::string text = kLongText;
    text.reserve(1000);
    Bytes bytes = {1, 2, 3};
    bytes.reserve(1000);
    Allocations allocations;

    set(text);
    EXPECT_EQ(stringBytes(100), allocations.sizeOf(pair_.value.string_value.data()));
    EXPECT_EQ(stringBytes(100), pair_.value.string_value.capacity() + 1);
    set(std::string(30, 'y'));
    EXPECT_EQ(stringBytes(30), allocations.sizeOf(pair_.value.string_value.data()));
    set(bytes);
    EXPECT_EQ(3u, allocations.sizeOf(pair_.value.bytes_value.data()));
    EXPECT_EQ(3u, pair_.value.bytes_value.capacity());
}

TEST_F(MemKVPair, CopiesAShortStringInPlace) {
    const std::string text(15, 's');
    Allocations allocations;

    set(text);

    EXPECT_EQ(0, allocations.held());
    EXPECT_EQ(text, pair_.value.string_value);
}

TEST_F(MemKVPair, ReleasesAStringOrArrayWhateverIsSetNext) {
    const auto setNext = {std::function([&] { set(kOddText); }),
                          std::function([&] { set(Bytes()); }),
                          std::function([&] { setMemKVPairValue(&pair_, 1, 1); }),
                          std::function([&] { setMemKVPairValue(&pair_, 9); }),
                          std::function([&] { setMemKVPairValue(&pair_, 12); }),
                          std::function([&] { setNullString(); }),
                          std::function([&] { setNullBytes(); })};
    for (const auto& next : setNext) {
        Allocations allocations;
        set(kLongText);
        ASSERT_EQ(1, allocations.heldOfSize(stringBytes(100)));
        next();
        EXPECT_EQ(0, allocations.heldOfSize(stringBytes(100)));

        set(Bytes(100));
        ASSERT_EQ(1, allocations.heldOfSize(100));
        next();
        EXPECT_EQ(0, allocations.heldOfSize(100));
    }
}

TEST_F(MemKVPair, ReplacesAStringByAnotherWithoutKeepingTheOldOne) {
    Allocations allocations;

    set(kLongText);
    set(kLongText + kLongText);

    EXPECT_EQ(1, allocations.held());
    EXPECT_EQ(1, allocations.heldOfSize(stringBytes(200)));
}

#ifdef __cpp_exceptions
TEST_F(MemKVPair, ReleasesTheOldValueBeforeItAllocatesTheNew) {
    const std::string text = kLongText + kLongText;
    const Bytes bytes(300);
    Allocations allocations;
    set(kLongText);
    allocations.fail(201);

    EXPECT_THROW(set(text), std::bad_alloc);
    EXPECT_EQ(0, allocations.heldOfSize(stringBytes(100)));

    set(Bytes(100));
    allocations.fail(300);
    EXPECT_THROW(set(bytes), std::bad_alloc);
    EXPECT_EQ(0, allocations.heldOfSize(100));
}

TEST_F(MemKVPair, IsEmptyUnderTheNewTagWhenAnAllocationFails) {
    const Bytes bytes(300);
    Allocations allocations;
    set(Bytes(10));
    allocations.fail(101);
    EXPECT_THROW(set(kLongText), std::bad_alloc);
    EXPECT_EQ(0, pair_.type);
    EXPECT_EQ("", pair_.value.string_value);

    allocations.fail(300);
    EXPECT_THROW(set(bytes), std::bad_alloc);
    EXPECT_EQ(8, pair_.type);
    EXPECT_TRUE(pair_.value.bytes_value.empty());
}
#endif

using MemKVPairDeathTest = MemKVPair;

/** What the C++ library says before it ends the process. */
#ifdef __cpp_exceptions
constexpr char kLengthError[] = "length_error";
#else
constexpr char kLengthError[] = "";
#endif

TEST_F(MemKVPairDeathTest, EndsTheProcessForAnArrayThatEndsBeforeItBegins) {
    const auto setReversed = [&] {
        Bytes bytes(3);
        unsigned char* pointers[3];  // Begin, end, capacity.
        memcpy(pointers, static_cast<void*>(&bytes), sizeof(pointers));
        std::swap(pointers[0], pointers[1]);
        memcpy(static_cast<void*>(&bytes), pointers, sizeof(pointers));
#ifdef __cpp_exceptions
        try {
            set(bytes);
        } catch (...) {
            _exit(0);  // The caller cannot go on from here.
        }
#else
        set(bytes);
#endif
    };

    EXPECT_EXIT(setReversed(), testing::KilledBySignal(SIGABRT), kLengthError);
}

}  // namespace
