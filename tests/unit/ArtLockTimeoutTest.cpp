// The ArtLockTimeout records on the wire: what receivers of the event buffer read.

#include <google/protobuf/message_lite.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

#include "proto/wardline_records.pb.h"
#include "support/WireBytes.h"

namespace {

// Numbers are unsigned; on the wire a signed one may look the same.
static_assert(std::is_same_v<uint64_t, decltype(ArtLockTimeout().wait_time())>);
static_assert(std::is_same_v<uint64_t, decltype(ArtLockTimeout().owner())>);

template <typename Record = ArtLockTimeout>
Record parse(const std::string& bytes) {
    Record record;
    EXPECT_TRUE(record.ParseFromString(bytes));
    return record;
}

const std::string kAllEmpty = "0A 00 12 00 18 00 20 00 2A 00 32 00 3A 00 42 00";

ArtLockTimeout allEmpty() {
    ArtLockTimeout timeout;
    timeout.set_extra2("");
    timeout.set_extra1("");
    timeout.set_object("");
    timeout.set_owner_desc("");
    timeout.set_owner(0);
    timeout.set_wait_time(0);
    timeout.set_timestamp("");
    timeout.set_name("");
    return timeout;
}

TEST(ArtLockTimeoutRecord, IsNothingWhenNoFieldIsSet) {
    EXPECT_EQ("", ArtLockTimeout().SerializeAsString());
    EXPECT_EQ("", ArtLockTimeoutData().SerializeAsString());
}

TEST(ArtLockTimeoutRecord, IsInitialisedWithoutAnyField) {
    EXPECT_TRUE(ArtLockTimeout().IsInitialized());
    EXPECT_TRUE(ArtLockTimeoutData().IsInitialized());
}

TEST(ArtLockTimeoutRecord, IsNamedWithoutAPackage) {
    EXPECT_EQ("ArtLockTimeout", ArtLockTimeout().GetTypeName());
    EXPECT_EQ("ArtLockTimeoutData", ArtLockTimeoutData().GetTypeName());
}

TEST(ArtLockTimeoutRecord, CarriesNoReflection) {
    const google::protobuf::MessageLite& message = ArtLockTimeoutData::default_instance();

    // What the full runtime would answer by reflection.
    EXPECT_EQ("(cannot determine missing fields for lite message)",
              message.InitializationErrorString());
}

TEST(ArtLockTimeoutRecord, WritesFieldsThatAreSetToZeroOrEmptyInTheOrderOfTheirNumbers) {
    EXPECT_EQ(bytesOf(kAllEmpty), allEmpty().SerializeAsString());
}

TEST(ArtLockTimeoutRecord, WritesEachFieldUnderItsNumber) {
    ArtLockTimeout timeout;
    timeout.set_extra2("f");
    timeout.set_extra1("e");
    timeout.set_object("d");
    timeout.set_owner_desc("c");
    timeout.set_owner(1);
    timeout.set_wait_time(300);
    timeout.set_timestamp("b");
    timeout.set_name("a");

    EXPECT_EQ(bytesOf("0A 01 61 12 01 62 18 AC 02 20 01 2A 01 63 32 01 64 3A 01 65 42 01 66"),
              timeout.SerializeAsString());
}

TEST(ArtLockTimeoutRecord, LeavesFieldsOutThatWereNeverSet) {
    ArtLockTimeout timeout;
    timeout.set_owner(0);

    EXPECT_EQ(bytesOf("20 00"), timeout.SerializeAsString());
}

TEST(ArtLockTimeoutRecord, WritesNumbersAsPlainUnsigned64BitVarints) {
    ArtLockTimeout timeout;
    timeout.set_wait_time(std::numeric_limits<uint64_t>::max());
    timeout.set_owner(std::numeric_limits<uint64_t>::max() - 1);

    EXPECT_EQ(bytesOf("18 FF FF FF FF FF FF FF FF FF 01 20 FE FF FF FF FF FF FF FF FF 01"),
              timeout.SerializeAsString());
}

TEST(ArtLockTimeoutRecord, TellsASetFieldFromOneThatIsNot) {
    const ArtLockTimeout none;
    EXPECT_FALSE(none.has_name() || none.has_timestamp() || none.has_wait_time() ||
                 none.has_owner() || none.has_owner_desc() || none.has_object() ||
                 none.has_extra1() || none.has_extra2());
    EXPECT_EQ(0u, none.wait_time());
    EXPECT_EQ(0u, none.owner());
    EXPECT_EQ("", none.name() + none.timestamp() + none.owner_desc() + none.object() +
                      none.extra1() + none.extra2());

    const ArtLockTimeout all = parse(bytesOf(kAllEmpty));
    EXPECT_TRUE(all.has_name() && all.has_timestamp() && all.has_wait_time() && all.has_owner() &&
                all.has_owner_desc() && all.has_object() && all.has_extra1() && all.has_extra2());
}

TEST(ArtLockTimeoutRecord, TakesTextsThatAreNoUtf8) {
    const std::string bytes =
        bytesOf("0A 03 C3 28 FF 12 01 FF 2A 01 FE 32 01 FD 3A 01 FC 42 01 00");

    EXPECT_EQ(bytes, parse(bytes).SerializeAsString());
}

TEST(ArtLockTimeoutRecord, WritesUnknownFieldsUnchangedAfterTheKnownOnes) {
    EXPECT_EQ(bytesOf("0A 01 61 18 01 48 07 52 01 78"),
              parse(bytesOf("48 07 0A 01 61 52 01 78 18 01")).SerializeAsString());
}

TEST(ArtLockTimeoutRecord, KeepsKnownFieldsOfAnotherWireTypeAsUnknown) {
    const std::string bytes = bytesOf("08 01 10 02 1A 01 61 22 01 62 28 03 30 04 38 05 40 06");

    const ArtLockTimeout timeout = parse(bytes);

    EXPECT_FALSE(timeout.has_name() || timeout.has_timestamp() || timeout.has_wait_time() ||
                 timeout.has_owner() || timeout.has_owner_desc() || timeout.has_object() ||
                 timeout.has_extra1() || timeout.has_extra2());
    EXPECT_EQ(bytes, timeout.SerializeAsString());
}

TEST(ArtLockTimeoutRecord, HasNoOtherField) {
    const std::string others = fieldsDownTo(9, 40);

    EXPECT_EQ(bytesOf("20 01") + others, parse(others + bytesOf("20 01")).SerializeAsString());
}

TEST(ArtLockTimeoutDataRecord, WritesATimeoutAsASubmessage) {
    ArtLockTimeoutData data;
    *data.add_timeouts() = allEmpty();

    EXPECT_EQ(bytesOf("0A 10 " + kAllEmpty), data.SerializeAsString());
}

TEST(ArtLockTimeoutDataRecord, WritesAnEmptyTimeoutToo) {
    ArtLockTimeoutData data;
    data.add_timeouts();

    EXPECT_EQ(bytesOf("0A 00"), data.SerializeAsString());
}

TEST(ArtLockTimeoutDataRecord, KeepsTheOrderOfItsTimeouts) {
    const std::string bytes = bytesOf("0A 02 18 02 0A 03 0A 01 61 0A 02 18 01");

    const auto data = parse<ArtLockTimeoutData>(bytes);

    ASSERT_EQ(3, data.timeouts_size());
    EXPECT_EQ(2u, data.timeouts(0).wait_time());
    EXPECT_EQ("a", data.timeouts(1).name());
    EXPECT_EQ(1u, data.timeouts(2).wait_time());
    EXPECT_EQ(bytes, data.SerializeAsString());
}

TEST(ArtLockTimeoutDataRecord, WritesUnknownFieldsUnchangedAfterTheTimeouts) {
    EXPECT_EQ(bytesOf("0A 00 0A 00 10 07 1A 01 78"),
              parse<ArtLockTimeoutData>(bytesOf("10 07 0A 00 1A 01 78 0A 00")).SerializeAsString());
}

TEST(ArtLockTimeoutDataRecord, HasNoOtherField) {
    const std::string others = fieldsDownTo(2, 40);

    EXPECT_EQ(bytesOf("0A 00") + others,
              parse<ArtLockTimeoutData>(others + bytesOf("0A 00")).SerializeAsString());
}

}  // namespace
