// How devicectl shows a sample of memory figures.

#include <gtest/gtest.h>

#include "devicectl/PrintRecord.h"
#include "proto/wardline_records.pb.h"

namespace {

std::string printed(const std::string& record) {
    testing::internal::CaptureStdout();
    printMemSample(record);
    return testing::internal::GetCapturedStdout();
}

TEST(PrintMemSample, ShowsEveryFieldAndTheElementsAsTheyAre) {
    MemMonitorEvent event;
    event.set_timestamp_ms(-1);
    event.set_uptime_ms(2);
    event.set_brand("brand");
    event.set_product("product");
    event.set_device("device");
    event.set_release("release");
    event.set_build_id("id");
    event.set_incremental("incremental");
    event.set_build_type("type");
    event.set_tags("tags");
    event.add_kvs()->set_key("k\n");
    event.add_kvs()->set_string_value("");
    event.add_kvs()->set_int32_value(-1);
    event.add_kvs()->set_int64_value(-2);
    event.add_kvs()->set_uint32_value(4294967295);
    event.add_kvs()->set_uint64_value(18446744073709551615U);
    event.add_kvs()->set_bool_value(true);
    event.add_kvs()->set_bool_value(false);
    event.add_kvs()->set_double_value(0.1);
    event.add_kvs()->set_float_value(0.1F);
    event.add_kvs()->set_bytes_value(std::string("\0\xff", 2));
    KeyValue& both = *event.add_kvs();
    both.set_key("both");
    both.set_int32_value(1);

    EXPECT_EQ(
        "  timestamp_ms  -1\n"
        "  uptime_ms     2\n"
        "  brand         \"brand\"\n"
        "  product       \"product\"\n"
        "  device        \"device\"\n"
        "  release       \"release\"\n"
        "  build_id      \"id\"\n"
        "  incremental   \"incremental\"\n"
        "  build_type    \"type\"\n"
        "  tags          \"tags\"\n"
        "  key           \"k\\x0a\"\n"
        "  string_value  \"\"\n"
        "  int32_value   -1\n"
        "  int64_value   -2\n"
        "  uint32_value  4294967295\n"
        "  uint64_value  18446744073709551615\n"
        "  bool_value    true\n"
        "  bool_value    false\n"
        "  double_value  0.10000000000000001\n"
        "  float_value   0.100000001\n"
        "  bytes_value   \"\\x00\\xff\"\n"
        "  key           \"both\"\n"
        "  int32_value   1\n",
        printed(event.SerializePartialAsString()));
}

TEST(PrintMemSample, TellsThatARecordIsDamaged) {
    EXPECT_EQ("  damaged: not a whole MemMonitorEvent\n", printed("\x5a"));
}

}  // namespace
