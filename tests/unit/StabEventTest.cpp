// The StabEvent record on the wire: what receivers of the event buffer and of event files read.

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message_lite.h>
#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>
#include <type_traits>

#include "proto/wardline_records.pb.h"
#include "support/WireBytes.h"

namespace {

// Numbers are unsigned; on the wire a signed one may look the same.
static_assert(std::is_same_v<uint32_t, decltype(StabEvent().event_type())>);
static_assert(std::is_same_v<uint32_t, decltype(StabEvent().pid())>);
static_assert(std::is_same_v<uint64_t, decltype(StabEvent().timestamp_ms())>);

StabEvent parse(const std::string& bytes) {
    StabEvent event;
    EXPECT_TRUE(event.ParseFromString(bytes));
    return event;
}

std::string serialiseDeterministically(const StabEvent& event) {
    std::string bytes;
    google::protobuf::io::StringOutputStream stream(&bytes);
    google::protobuf::io::CodedOutputStream coded(&stream);
    coded.SetSerializationDeterministic(true);
    EXPECT_TRUE(event.SerializeToCodedStream(&coded));
    coded.Trim();
    return bytes;
}

TEST(StabEventRecord, IsNothingWhenNoFieldIsSet) {
    EXPECT_EQ("", StabEvent().SerializeAsString());
}

TEST(StabEventRecord, IsInitialisedWithoutAnyField) {
    EXPECT_TRUE(StabEvent().IsInitialized());
}

TEST(StabEventRecord, IsNamedWithoutAPackage) {
    EXPECT_EQ("StabEvent", StabEvent().GetTypeName());
}

TEST(StabEventRecord, HasAMapEntryWithoutAName) {
    EXPECT_EQ("", StabEvent_DataEntry_DoNotUse().GetTypeName());
}

TEST(StabEventRecord, CarriesNoReflection) {
    const google::protobuf::MessageLite& message = StabEvent::default_instance();

    // What the full runtime would answer by reflection.
    EXPECT_EQ("(cannot determine missing fields for lite message)",
              message.InitializationErrorString());
}

TEST(StabEventRecord, WritesTheFieldsInTheOrderOfTheirNumbers) {
    StabEvent event;
    event.set_timestamp_ms(1);
    event.set_pid(300);
    event.set_process_name("ab");
    event.set_event_type(2);

    EXPECT_EQ(bytesOf("08 02 12 02 61 62 18 AC 02 20 01"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesTheDataAfterTheOtherFields) {
    StabEvent event;
    (*event.mutable_data())["k"] = "vw";
    event.set_event_type(4);
    event.set_timestamp_ms(1);

    EXPECT_EQ(bytesOf("08 04 20 01 2A 07 0A 01 6B 12 02 76 77"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesFieldsThatAreSetToZeroOrEmpty) {
    StabEvent event;
    event.set_event_type(0);
    event.set_process_name("");
    event.set_pid(0);
    event.set_timestamp_ms(0);

    EXPECT_EQ(bytesOf("08 00 12 00 18 00 20 00"), event.SerializeAsString());
}

TEST(StabEventRecord, LeavesAProcessNameOutThatWasNeverSet) {
    StabEvent event;
    event.set_event_type(1);

    EXPECT_EQ(bytesOf("08 01"), event.SerializeAsString());
    EXPECT_FALSE(event.has_process_name());
}

TEST(StabEventRecord, WritesANegativePidInFiveBytes) {
    StabEvent event;
    event.set_pid(static_cast<uint32_t>(-1));

    EXPECT_EQ(bytesOf("18 FF FF FF FF 0F"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesANegativeEventTypeInFiveBytes) {
    StabEvent event;
    event.set_event_type(static_cast<uint32_t>(-1));

    EXPECT_EQ(bytesOf("08 FF FF FF FF 0F"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesTheTimeAsAnUnsigned64BitVarint) {
    StabEvent event;
    event.set_timestamp_ms(std::numeric_limits<uint64_t>::max());

    EXPECT_EQ(bytesOf("20 FF FF FF FF FF FF FF FF FF 01"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesKeyAndValueOfAnEmptyMapEntry) {
    StabEvent event;
    (*event.mutable_data())[""] = "";

    EXPECT_EQ(bytesOf("2A 04 0A 00 12 00"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesEveryMapEntryOnce) {
    StabEvent event;
    (*event.mutable_data())["a"] = "1";
    (*event.mutable_data())["b"] = "2";
    const std::string a = bytesOf("2A 06 0A 01 61 12 01 31");
    const std::string b = bytesOf("2A 06 0A 01 62 12 01 32");

    const std::string bytes = event.SerializeAsString();

    EXPECT_EQ(1u, (std::set<std::string>{a + b, b + a}).count(bytes));
}

TEST(StabEventRecord, SortsTheMapByUnsignedKeyBytesOnlyInDeterministicMode) {
    StabEvent event;
    for (const char* key : {"b", "\xff", "a", "B", "aa"})
        (*event.mutable_data())[key] = "";

    EXPECT_EQ(bytesOf("2A 05 0A 01 42 12 00  2A 05 0A 01 61 12 00  2A 06 0A 02 61 61 12 00"
                      "2A 05 0A 01 62 12 00  2A 05 0A 01 FF 12 00"),
              serialiseDeterministically(event));
}

TEST(StabEventRecord, TakesAProcessNameThatIsNoUtf8) {
    StabEvent event;
    event.set_process_name("\xc3\x28\xff");

    EXPECT_EQ(bytesOf("12 03 C3 28 FF"), event.SerializeAsString());
    EXPECT_EQ("\xc3\x28\xff", parse(event.SerializeAsString()).process_name());
}

TEST(StabEventRecord, TakesTheLastOfRepeatedFields) {
    const StabEvent event = parse(bytesOf("08 02 12 01 61 18 01 20 01 08 04 12 01 62 18 02 20 02"));

    EXPECT_EQ(bytesOf("08 04 12 01 62 18 02 20 02"), event.SerializeAsString());
}

TEST(StabEventRecord, TakesTheLastValueOfARepeatedMapKey) {
    const StabEvent event = parse(bytesOf("2A 06 0A 01 61 12 01 31 2A 06 0A 01 61 12 01 32"));

    EXPECT_EQ(bytesOf("2A 06 0A 01 61 12 01 32"), event.SerializeAsString());
}

TEST(StabEventRecord, ReadsAMapEntryWithoutKeyOrValueAsEmpty) {
    const StabEvent event = parse(bytesOf("2A 00"));

    EXPECT_EQ(bytesOf("2A 04 0A 00 12 00"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesUnknownFieldsUnchangedAfterTheKnownOnes) {
    const StabEvent event = parse(bytesOf("30 07 08 02 3A 01 78 20 01"));

    EXPECT_EQ(bytesOf("08 02 20 01 30 07 3A 01 78"), event.SerializeAsString());
}

TEST(StabEventRecord, WritesUnknownFieldsAfterTheData) {
    const StabEvent event = parse(bytesOf("30 07 2A 04 0A 00 12 00"));

    EXPECT_EQ(bytesOf("2A 04 0A 00 12 00 30 07"), event.SerializeAsString());
}

TEST(StabEventRecord, HasNoOtherField) {
    const std::string others = fieldsDownTo(6, 40);

    EXPECT_EQ(bytesOf("20 01") + others, parse(others + bytesOf("20 01")).SerializeAsString());
}

TEST(StabEventRecord, KeepsKnownFieldsOfAnotherWireTypeAsUnknown) {
    // Fields 1, 3 and 4 as texts, fields 2 and 5 as numbers.
    const std::string bytes = bytesOf("0A 01 61 10 05 1A 01 62 22 01 63 28 06");

    const StabEvent event = parse(bytes);

    EXPECT_FALSE(event.has_event_type());
    EXPECT_FALSE(event.has_process_name());
    EXPECT_FALSE(event.has_pid());
    EXPECT_FALSE(event.has_timestamp_ms());
    EXPECT_TRUE(event.data().empty());
    EXPECT_EQ(bytes, event.SerializeAsString());
}

TEST(StabEventRecord, MergesPresentFieldsAndMapEntries) {
    StabEvent event = parse(bytesOf("08 02 12 01 61 2A 06 0A 01 61 12 01 31"));
    const StabEvent other = parse(bytesOf("12 01 62 2A 06 0A 01 61 12 01 32"));

    event.MergeFrom(other);

    EXPECT_EQ(bytesOf("08 02 12 01 62 2A 06 0A 01 61 12 01 32"), event.SerializeAsString());
}

}  // namespace
