// The memory monitor records on the wire: what receivers of the event buffer read.

#include <google/protobuf/message_lite.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "proto/wardline_records.pb.h"
#include "support/WireBytes.h"

namespace {

// On the wire some numbers of other types look the same.
static_assert(std::is_same_v<int32_t, decltype(KeyValue().int32_value())>);
static_assert(std::is_same_v<int64_t, decltype(KeyValue().int64_value())>);
static_assert(std::is_same_v<uint32_t, decltype(KeyValue().uint32_value())>);
static_assert(std::is_same_v<uint64_t, decltype(KeyValue().uint64_value())>);
static_assert(std::is_same_v<bool, decltype(KeyValue().bool_value())>);
static_assert(std::is_same_v<double, decltype(KeyValue().double_value())>);
static_assert(std::is_same_v<float, decltype(KeyValue().float_value())>);
static_assert(std::is_same_v<int64_t, decltype(MemMonitorEvent().timestamp_ms())>);
static_assert(std::is_same_v<int64_t, decltype(MemMonitorEvent().uptime_ms())>);

// The number of each member of the oneof is that of its field.
static_assert(KeyValue::VALUE_NOT_SET == 0 && KeyValue::kStringValue == 2 &&
              KeyValue::kInt32Value == 3 && KeyValue::kInt64Value == 4 &&
              KeyValue::kUint32Value == 5 && KeyValue::kUint64Value == 6 &&
              KeyValue::kBoolValue == 7 && KeyValue::kDoubleValue == 8 &&
              KeyValue::kFloatValue == 9 && KeyValue::kBytesValue == 10);

// Elements lack their key, so all operations here are those that do not insist on it.
template <typename Record>
std::string bytesOfRecord(const Record& record) {
    return record.SerializePartialAsString();
}

template <typename Record>
Record parse(const std::string& bytes) {
    Record record;
    EXPECT_TRUE(record.ParsePartialFromString(bytes));
    return record;
}

template <typename Record>
std::string rewritten(const std::string& bytes) {
    return bytesOfRecord(parse<Record>(bytes));
}

/** A record of one field that set() has set. */
template <typename Set>
std::string keyValueWith(Set set) {
    KeyValue pair;
    set(pair);
    return bytesOfRecord(pair);
}

// Common to the three.

TEST(MemMonitorRecords, AreNothingWhenNoFieldIsSet) {
    EXPECT_EQ("", bytesOfRecord(KeyValue()));
    EXPECT_EQ("", bytesOfRecord(MemMonitorEvent()));
    EXPECT_EQ("", bytesOfRecord(SMemMonitorEvent()));
}

TEST(MemMonitorRecords, AreNamedWithoutAPackage) {
    EXPECT_EQ("KeyValue", KeyValue().GetTypeName());
    EXPECT_EQ("MemMonitorEvent", MemMonitorEvent().GetTypeName());
    EXPECT_EQ("SMemMonitorEvent", SMemMonitorEvent().GetTypeName());
}

TEST(MemMonitorRecords, CarryNoReflection) {
    const google::protobuf::MessageLite& message = SMemMonitorEvent::default_instance();

    // What the full runtime would answer by reflection.
    EXPECT_EQ("(cannot determine missing fields for lite message)",
              message.InitializationErrorString());
}

TEST(MemMonitorRecords, WriteUnknownFieldsUnchangedAfterTheKnownOnes) {
    EXPECT_EQ(bytesOf("0A 01 61 18 01 58 07 62 01 78"),
              rewritten<KeyValue>(bytesOf("58 07 18 01 62 01 78 0A 01 61")));
    EXPECT_EQ(bytesOf("08 01 5A 02 18 01 60 07 6A 01 78"),
              rewritten<MemMonitorEvent>(bytesOf("60 07 5A 02 18 01 6A 01 78 08 01")));
    EXPECT_EQ(bytesOf("0A 02 08 01 10 07 1A 01 78"),
              rewritten<SMemMonitorEvent>(bytesOf("10 07 0A 02 08 01 1A 01 78")));
}

TEST(MemMonitorRecords, HaveNoOtherField) {
    const std::string number = bytesOf("08 01");
    const std::string text = bytesOf("0A 01 61");
    const std::string event = bytesOf("0A 02 08 01");

    EXPECT_EQ(text + fieldsDownTo(11, 40), rewritten<KeyValue>(fieldsDownTo(11, 40) + text));
    EXPECT_EQ(number + fieldsDownTo(12, 40),
              rewritten<MemMonitorEvent>(fieldsDownTo(12, 40) + number));
    EXPECT_EQ(event + fieldsDownTo(2, 40),
              rewritten<SMemMonitorEvent>(fieldsDownTo(2, 40) + event));
}

TEST(MemMonitorRecords, KeepKnownFieldsOfAnotherWireTypeAsUnknown) {
    const std::string pair =
        bytesOf("08 01 10 01 1A 01 61 22 01 61 2A 01 61 32 01 61 3A 01 61 42 01 61 4A 01 61 50 01");
    const std::string event =
        bytesOf("0A 01 61 12 01 61 18 01 20 01 28 01 30 01 38 01 40 01 48 01 50 01 58 01");

    EXPECT_FALSE(parse<KeyValue>(pair).has_key());
    EXPECT_EQ(KeyValue::VALUE_NOT_SET, parse<KeyValue>(pair).value_case());
    EXPECT_EQ(pair, rewritten<KeyValue>(pair));
    EXPECT_FALSE(parse<MemMonitorEvent>(event).has_timestamp_ms());
    EXPECT_EQ(0, parse<MemMonitorEvent>(event).kvs_size());
    EXPECT_EQ(event, rewritten<MemMonitorEvent>(event));
    EXPECT_EQ(bytesOf("08 01"), rewritten<SMemMonitorEvent>(bytesOf("08 01")));
}

// KeyValue.

TEST(KeyValueRecord, WritesEachMemberUnderItsNumber) {
    EXPECT_EQ(bytesOf("0A 01 61"), keyValueWith([](KeyValue& pair) { pair.set_key("a"); }));
    EXPECT_EQ(bytesOf("12 01 61"),
              keyValueWith([](KeyValue& pair) { pair.set_string_value("a"); }));
    EXPECT_EQ(bytesOf("18 AC 02"), keyValueWith([](KeyValue& pair) { pair.set_int32_value(300); }));
    EXPECT_EQ(bytesOf("20 AC 02"), keyValueWith([](KeyValue& pair) { pair.set_int64_value(300); }));
    EXPECT_EQ(bytesOf("28 AC 02"),
              keyValueWith([](KeyValue& pair) { pair.set_uint32_value(300); }));
    EXPECT_EQ(bytesOf("30 AC 02"),
              keyValueWith([](KeyValue& pair) { pair.set_uint64_value(300); }));
    EXPECT_EQ(bytesOf("38 01"), keyValueWith([](KeyValue& pair) { pair.set_bool_value(true); }));
    EXPECT_EQ(bytesOf("41 00 00 00 00 00 00 F8 3F"),
              keyValueWith([](KeyValue& pair) { pair.set_double_value(1.5); }));
    EXPECT_EQ(bytesOf("4D 00 00 C0 3F"),
              keyValueWith([](KeyValue& pair) { pair.set_float_value(1.5F); }));
    EXPECT_EQ(bytesOf("52 02 00 FF"),
              keyValueWith([](KeyValue& pair) { pair.set_bytes_value(bytesOf("00 FF")); }));
}

TEST(KeyValueRecord, WritesAMemberThatIsSetToZeroOrEmpty) {
    EXPECT_EQ(bytesOf("0A 00"), keyValueWith([](KeyValue& pair) { pair.set_key(""); }));
    EXPECT_EQ(bytesOf("12 00"), keyValueWith([](KeyValue& pair) { pair.set_string_value(""); }));
    EXPECT_EQ(bytesOf("18 00"), keyValueWith([](KeyValue& pair) { pair.set_int32_value(0); }));
    EXPECT_EQ(bytesOf("20 00"), keyValueWith([](KeyValue& pair) { pair.set_int64_value(0); }));
    EXPECT_EQ(bytesOf("28 00"), keyValueWith([](KeyValue& pair) { pair.set_uint32_value(0); }));
    EXPECT_EQ(bytesOf("30 00"), keyValueWith([](KeyValue& pair) { pair.set_uint64_value(0); }));
    EXPECT_EQ(bytesOf("38 00"), keyValueWith([](KeyValue& pair) { pair.set_bool_value(false); }));
    EXPECT_EQ(bytesOf("41 00 00 00 00 00 00 00 00"),
              keyValueWith([](KeyValue& pair) { pair.set_double_value(0); }));
    EXPECT_EQ(bytesOf("4D 00 00 00 00"),
              keyValueWith([](KeyValue& pair) { pair.set_float_value(0); }));
    EXPECT_EQ(bytesOf("52 00"), keyValueWith([](KeyValue& pair) { pair.set_bytes_value(""); }));
}

TEST(KeyValueRecord, WritesNegativeNumbersInTenBytes) {
    EXPECT_EQ(bytesOf("18 FF FF FF FF FF FF FF FF FF 01"),
              keyValueWith([](KeyValue& pair) { pair.set_int32_value(-1); }));
    EXPECT_EQ(bytesOf("20 FF FF FF FF FF FF FF FF FF 01"),
              keyValueWith([](KeyValue& pair) { pair.set_int64_value(-1); }));
}

TEST(KeyValueRecord, WritesTheGreatestUnsignedNumbers) {
    EXPECT_EQ(bytesOf("28 FF FF FF FF 0F"),
              keyValueWith([](KeyValue& pair) { pair.set_uint32_value(4294967295); }));
    EXPECT_EQ(bytesOf("30 FF FF FF FF FF FF FF FF FF 01"), keyValueWith([](KeyValue& pair) {
                  pair.set_uint64_value(std::numeric_limits<uint64_t>::max());
              }));
}

TEST(KeyValueRecord, WritesTheKeyBeforeTheValue) {
    KeyValue pair;
    pair.set_int64_value(1234);
    pair.set_key("rss");

    EXPECT_EQ(bytesOf("0A 03 72 73 73 20 D2 09"), bytesOfRecord(pair));
}

TEST(KeyValueRecord, IsInitialisedExactlyWithAKey) {
    EXPECT_FALSE(KeyValue().IsInitialized());
    EXPECT_FALSE(parse<KeyValue>(bytesOf("20 01")).IsInitialized());
    EXPECT_TRUE(parse<KeyValue>(bytesOf("0A 00")).IsInitialized());
}

TEST(KeyValueRecord, IsRefusedWithoutAKeyByThePlainOperationsAlone) {
    KeyValue pair;

    EXPECT_FALSE(pair.ParseFromString(bytesOf("20 01")));
    EXPECT_TRUE(pair.ParsePartialFromString(bytesOf("20 01")));
}

TEST(KeyValueRecord, TellsASetKeyFromOneThatIsNot) {
    EXPECT_FALSE(parse<KeyValue>("").has_key());
    EXPECT_EQ("", parse<KeyValue>("").key());
    EXPECT_TRUE(parse<KeyValue>(bytesOf("0A 00")).has_key());
}

TEST(KeyValueRecord, HoldsOneMemberAtATime) {
    const std::vector<std::string> members = {"12 01 61",
                                              "18 02",
                                              "20 02",
                                              "28 02",
                                              "30 02",
                                              "38 01",
                                              "41 00 00 00 00 00 00 F8 3F",
                                              "4D 00 00 C0 3F",
                                              "52 01 61"};
    for (size_t i = 0; i < members.size(); ++i) {
        for (const std::string& earlier : members) {
            const auto pair = parse<KeyValue>(bytesOf(earlier + members[i]));
            EXPECT_EQ(i + 2, static_cast<size_t>(pair.value_case()));
            EXPECT_EQ(bytesOf(members[i]), bytesOfRecord(pair));
        }
    }
}

TEST(KeyValueRecord, HoldsNoMemberAfterItsValueWasCleared) {
    auto pair = parse<KeyValue>(bytesOf("0A 01 61 20 01"));

    pair.clear_value();

    EXPECT_EQ(KeyValue::VALUE_NOT_SET, pair.value_case());
    EXPECT_EQ(bytesOf("0A 01 61"), bytesOfRecord(pair));
}

TEST(KeyValueRecord, TakesTextsThatAreNoUtf8) {
    const std::string bytes = bytesOf("0A 03 C3 28 FF 12 02 FF 00");

    EXPECT_EQ(bytes, rewritten<KeyValue>(bytes));
}

TEST(KeyValueRecord, MergesKeyAndMember) {
    auto pair = parse<KeyValue>(bytesOf("0A 01 61 12 01 78"));

    pair.MergeFrom(parse<KeyValue>(bytesOf("20 02")));

    EXPECT_EQ(bytesOf("0A 01 61 20 02"), bytesOfRecord(pair));
}

// MemMonitorEvent.

TEST(MemMonitorEventRecord, WritesEachFieldUnderItsNumber) {
    MemMonitorEvent event;
    event.add_kvs()->set_key("k");
    event.set_tags("h");
    event.set_build_type("g");
    event.set_incremental("f");
    event.set_build_id("e");
    event.set_release("d");
    event.set_device("c");
    event.set_product("b");
    event.set_brand("a");
    event.set_uptime_ms(300);
    event.set_timestamp_ms(1);

    EXPECT_EQ(bytesOf("08 01 10 AC 02 1A 01 61 22 01 62 2A 01 63 32 01 64 3A 01 65 42 01 66"
                      "4A 01 67 52 01 68 5A 03 0A 01 6B"),
              bytesOfRecord(event));
}

TEST(MemMonitorEventRecord, WritesFieldsThatAreSetToZeroOrEmpty) {
    const std::string bytes =
        bytesOf("08 00 10 00 1A 00 22 00 2A 00 32 00 3A 00 42 00 4A 00 52 00 5A 00");

    const auto event = parse<MemMonitorEvent>(bytes);

    EXPECT_TRUE(event.has_timestamp_ms() && event.has_uptime_ms() && event.has_brand() &&
                event.has_product() && event.has_device() && event.has_release() &&
                event.has_build_id() && event.has_incremental() && event.has_build_type() &&
                event.has_tags());
    EXPECT_EQ(1, event.kvs_size());
    EXPECT_EQ(bytes, bytesOfRecord(event));
}

TEST(MemMonitorEventRecord, TellsASetFieldFromOneThatIsNot) {
    const MemMonitorEvent event;

    EXPECT_FALSE(event.has_timestamp_ms() || event.has_uptime_ms() || event.has_brand() ||
                 event.has_product() || event.has_device() || event.has_release() ||
                 event.has_build_id() || event.has_incremental() || event.has_build_type() ||
                 event.has_tags());
    EXPECT_EQ(0, event.timestamp_ms() + event.uptime_ms());
    EXPECT_EQ("", event.brand() + event.product() + event.device() + event.release() +
                      event.build_id() + event.incremental() + event.build_type() + event.tags());
}

TEST(MemMonitorEventRecord, WritesNegativeTimesInTenBytes) {
    MemMonitorEvent event;
    event.set_timestamp_ms(-1);
    event.set_uptime_ms(-2);

    EXPECT_EQ(bytesOf("08 FF FF FF FF FF FF FF FF FF 01 10 FE FF FF FF FF FF FF FF FF 01"),
              bytesOfRecord(event));
}

TEST(MemMonitorEventRecord, KeepsTheOrderOfItsElements) {
    const std::string bytes = bytesOf("5A 02 20 02 5A 03 0A 01 61 5A 02 20 01 5A 00");

    EXPECT_EQ(4, parse<MemMonitorEvent>(bytes).kvs_size());
    EXPECT_EQ(bytes, rewritten<MemMonitorEvent>(bytes));
}

TEST(MemMonitorEventRecord, IsInitialisedWhenEveryElementIs) {
    EXPECT_TRUE(MemMonitorEvent().IsInitialized());
    EXPECT_TRUE(parse<MemMonitorEvent>(bytesOf("5A 02 0A 00")).IsInitialized());
    EXPECT_FALSE(parse<MemMonitorEvent>(bytesOf("5A 02 0A 00 5A 02 20 01")).IsInitialized());
}

TEST(MemMonitorEventRecord, IsWrittenWholeWithoutTheKeys) {
    MemMonitorEvent event;
    event.set_timestamp_ms(1);
    event.add_kvs()->set_key("rss");
    event.add_kvs()->set_int64_value(1234);

    EXPECT_FALSE(event.IsInitialized());
    EXPECT_EQ(bytesOf("08 01 5A 05 0A 03 72 73 73 5A 03 20 D2 09"), bytesOfRecord(event));
}

TEST(MemMonitorEventRecord, TakesTextsThatAreNoUtf8) {
    const std::string bytes =
        bytesOf("1A 01 FF 22 01 FE 2A 01 FD 32 01 FC 3A 01 FB 42 01 FA 4A 01 F9 52 02 F8 00");

    EXPECT_EQ(bytes, rewritten<MemMonitorEvent>(bytes));
}

TEST(MemMonitorEventRecord, MergesFieldsAndAppendsElements) {
    auto event = parse<MemMonitorEvent>(bytesOf("08 01 1A 01 61 5A 02 20 01"));

    event.MergeFrom(parse<MemMonitorEvent>(bytesOf("08 02 5A 02 20 02")));

    EXPECT_EQ(bytesOf("08 02 1A 01 61 5A 02 20 01 5A 02 20 02"), bytesOfRecord(event));
}

// SMemMonitorEvent.

TEST(SMemMonitorEventRecord, KeepsTheOrderOfItsSamples) {
    SMemMonitorEvent samples;
    samples.add_events()->set_uptime_ms(2);
    samples.add_events();
    samples.add_events()->set_uptime_ms(1);

    EXPECT_EQ(bytesOf("0A 02 10 02 0A 00 0A 02 10 01"), bytesOfRecord(samples));
}

TEST(SMemMonitorEventRecord, IsInitialisedWhenEveryElementOfEverySampleIs) {
    EXPECT_TRUE(SMemMonitorEvent().IsInitialized());
    EXPECT_TRUE(parse<SMemMonitorEvent>(bytesOf("0A 00 0A 04 5A 02 0A 00")).IsInitialized());
    EXPECT_FALSE(parse<SMemMonitorEvent>(bytesOf("0A 00 0A 04 5A 02 20 01")).IsInitialized());
}

}  // namespace
