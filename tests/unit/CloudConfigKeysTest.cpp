// Each key of the configuration file with each type of value, and what a faulty place leaves.

#include <gtest/gtest.h>
#include <string.h>

#include <ostream>
#include <tuple>

#include "support/ParseTest.h"

using namespace std::string_literals;

namespace {

class CloudConfigKeys : public ParseTest {
  protected:
    /** Puts 7 or true into each plain member, and leaves no version loaded. */
    static void fillWithSevens() {
        const std::string settings = R"("dmaMemInfoConfig": {"enable": true, "threshHold": 7,
            "interval": 7}, "processesConfig": {"enable": true, "interval": 7})";
#ifdef __cpp_exceptions
        expectFault(R"({"version": 7, "threadtrackConfig": "no object", )" + settings + "}");
#else
        parse(R"({"version": 0, )" + settings + "}");
#endif
    }
};

constexpr char kFails[] = "fails";

/** One JSON value and what the conversions make of it. */
struct Value {
    const char* name;
    const char* json;  // Empty for a key that is absent.
    const char* asUInt;
    const char* asUInt64;
    const char* asBool;
    std::string asString;
};

void PrintTo(const Value& value, std::ostream* out) {
    *out << value.name;
}

const Value kValues[] = {
    {"absent", "", "0", "0", "false", ""},
    {"null", "null", "0", "0", "false", ""},
    {"true", "true", "1", "1", "true", "true"},
    {"false", "false", "0", "0", "false", "false"},
    {"zero", "0", "0", "0", "false", "0"},
    {"five", "5", "5", "5", "true", "5"},
    {"minus one", "-1", kFails, kFails, "true", "-1"},
    {"half past one", "1.5", "1", "1", "true", "1.5"},
    {"real zero", "0.0", "0", "0", "false", "0.0"},
    {"1e3", "1e3", "1000", "1000", "true", "1000.0"},
    {"minus half", "-0.5", kFails, kFails, "true", "-0.5"},
    {"2^31", "2147483648", "2147483648", "2147483648", "true", "2147483648"},
    {"2^32-1", "4294967295", "4294967295", "4294967295", "true", "4294967295"},
    {"2^32", "4294967296", kFails, "4294967296", "true", "4294967296"},
    {"2^63", "9223372036854775808", kFails, "9223372036854775808", "true", "9223372036854775808"},
    {"2^64-1", "18446744073709551615", kFails, "18446744073709551615", "true",
     "18446744073709551615"},
    {"1e20", "1e20", kFails, kFails, "true", "1e+20"},
    {"string", R"("text")", kFails, kFails, kFails, "text"},
    {"string of a number", R"("5")", kFails, kFails, kFails, "5"},
    {"string with a NUL", R"("a\u0000b")", kFails, kFails, kFails, "a\0b"s},
    {"empty string", R"("")", kFails, kFails, kFails, ""},
    {"array", "[1]", kFails, kFails, kFails, kFails},
    {"empty array", "[]", kFails, kFails, kFails, kFails},
    {"object", R"({"a": 1})", kFails, kFails, kFails, kFails},
    {"empty object", "{}", kFails, kFails, kFails, kFails},
};

/** One key of the file: "@" is its place in the document, "$" that of its value in the record. */
struct Key {
    const char* name;
    const char* key;
    const char* document;
    std::string (*convert)(const Value&);
    const char* record;
};

void PrintTo(const Key& key, std::ostream* out) {
    *out << key.name;
}

std::string asUInt(const Value& value) {
    return value.asUInt;
}
std::string asUInt64(const Value& value) {
    return value.asUInt64;
}
std::string asBool(const Value& value) {
    return value.asBool;
}
std::string asString(const Value& value) {
    return value.asString;
}

const Key kKeys[] = {
    {"version", "version", R"({@})", asUInt,
     "version $; dma false 0 0; processes false 0; options"},
    {"dma.enable", "enable", R"({"dmaMemInfoConfig": {@}})", asBool,
     "version 0; dma $ 0 0; processes false 0; options"},
    {"dma.threshHold", "threshHold", R"({"dmaMemInfoConfig": {@}})", asUInt64,
     "version 0; dma false $ 0; processes false 0; options"},
    {"dma.interval", "interval", R"({"dmaMemInfoConfig": {@}})", asUInt64,
     "version 0; dma false 0 $; processes false 0; options"},
    {"processes.enable", "enable", R"({"processesConfig": {@}})", asBool,
     "version 0; dma false 0 0; processes $ 0; options"},
    {"processes.interval", "interval", R"({"processesConfig": {@}})", asUInt64,
     "version 0; dma false 0 0; processes false $; options"},
    {"process.name", "name", R"({"processesConfig": {"processes": [{@}]}})", asString,
     "version 0; dma false 0 0; processes false 0 ($||-1); options"},
    {"process.description", "description", R"({"processesConfig": {"processes": [{@}]}})", asString,
     "version 0; dma false 0 0; processes false 0 (|$|-1); options"},
    {"option", "k", R"({"threadtrackConfig": {"options": {@}}})", asString,
     "version 0; dma false 0 0; processes false 0; options (k=$)"},
};

std::string replaced(std::string text, char mark, const std::string& replacement) {
    return text.replace(text.find(mark), 1, replacement);
}

class CloudConfigKey : public CloudConfigKeys,
                       public testing::WithParamInterface<std::tuple<Key, Value>> {};

TEST_P(CloudConfigKey, IsConvertedByItsType) {
    const auto& [key, value] = GetParam();
    const bool isAbsent = *value.json == '\0';
    const std::string member = isAbsent ? "" : std::string("\"") + key.key + "\": " + value.json;
    const std::string document = replaced(key.document, '@', member);
    const std::string expected = key.convert(value);
    fillWithSevens();

    if (expected == kFails) {
        expectFault(document);
        EXPECT_EQ("version 8", parse(R"({"version": 8})").substr(0, 9));
    } else if (isAbsent && std::string(key.name) == "option") {
        EXPECT_EQ(kNothing, parse(document));
    } else {
        EXPECT_EQ(replaced(key.record, '$', expected), parse(document));
        EXPECT_EQ(std::vector<LogLine>(), logLines());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, CloudConfigKey,
                         testing::Combine(testing::ValuesIn(kKeys), testing::ValuesIn(kValues)));

/** What is found in the place of an object or array. */
struct Shape {
    const char* name;
    const char* document;
    std::string record;  // What a sound document gives, or kFails.
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

class CloudConfigShape : public CloudConfigKeys, public testing::WithParamInterface<Shape> {};

TEST_P(CloudConfigShape, IsTakenAsTheJsonLibraryTakesIt) {
    fillWithSevens();

    if (GetParam().record == kFails) {
        expectFault(GetParam().document);
        EXPECT_EQ("version 8", parse(R"({"version": 8})").substr(0, 9));
    } else {
        EXPECT_EQ(GetParam().record, parse(GetParam().document));
        EXPECT_EQ(std::vector<LogLine>(), logLines());
    }
}

const Shape kDocuments[] = {
    {"null", "null", kNothing},
    {"empty object", "{}", kNothing},
    {"array", "[]", kFails},
    {"number", "5", kFails},
    {"string", R"("version")", kFails},
    {"boolean", "true", kFails},
    {"empty file", "", kFails},
    {"blank file", " \n\t ", kFails},
    {"truncated object", R"({"version": 5)", kFails},
    {"truncated string", R"({"version": 5, "a)", kFails},
    {"no JSON", "version=5", kFails},
    {"single quotes", "{'version': 5}", kFails},
    {"a backslash first", "\\{}", kFails},
    {"comments", "// c\n{/* c */ \"dmaMemInfoConfig\": /* c */ {\"interval\": 3} // c\n}",
     "version 0; dma false 0 3; processes false 0; options"},
    {"comma at the end", R"({"dmaMemInfoConfig": {"interval": 3,},})",
     "version 0; dma false 0 3; processes false 0; options"},
    {"text behind the object", R"({"dmaMemInfoConfig": {"interval": 3}} {"version": 5} x)",
     "version 0; dma false 0 3; processes false 0; options"},
    {"byte order mark", "\xef\xbb\xbf{\"dmaMemInfoConfig\": {\"interval\": 3}}",
     "version 0; dma false 0 3; processes false 0; options"},
    {"carriage returns", "\r\n{\"processesConfig\":\r\n{\"interval\": 3}}\r\n",
     "version 0; dma false 0 0; processes false 3; options"},
};
INSTANTIATE_TEST_SUITE_P(Document, CloudConfigShape, testing::ValuesIn(kDocuments));

const Shape kParts[] = {
    {"dma null", R"({"dmaMemInfoConfig": null})", kNothing},
    {"dma empty", R"({"dmaMemInfoConfig": {}})", kNothing},
    {"dma array", R"({"dmaMemInfoConfig": []})", kFails},
    {"dma string", R"({"dmaMemInfoConfig": "enable"})", kFails},
    {"dma number", R"({"dmaMemInfoConfig": 0})", kFails},
    {"dma boolean", R"({"dmaMemInfoConfig": false})", kFails},
    {"processes null", R"({"processesConfig": null})", kNothing},
    {"processes empty", R"({"processesConfig": {}})", kNothing},
    {"processes array", R"({"processesConfig": []})", kFails},
    {"processes string", R"({"processesConfig": "enable"})", kFails},
    {"processes number", R"({"processesConfig": 0})", kFails},
    {"processes boolean", R"({"processesConfig": false})", kFails},
    {"thread track null", R"({"threadtrackConfig": null})", kNothing},
    {"thread track empty", R"({"threadtrackConfig": {}})", kNothing},
    {"thread track array", R"({"threadtrackConfig": []})", kFails},
    {"thread track string", R"({"threadtrackConfig": "options"})", kFails},
    {"thread track number", R"({"threadtrackConfig": 0})", kFails},
    {"thread track boolean", R"({"threadtrackConfig": false})", kFails},
    {"options null", R"({"threadtrackConfig": {"options": null}})", kNothing},
    {"options empty", R"({"threadtrackConfig": {"options": {}}})", kNothing},
    {"options array", R"({"threadtrackConfig": {"options": []}})", kFails},
    {"options string", R"({"threadtrackConfig": {"options": "a"}})", kFails},
    {"options number", R"({"threadtrackConfig": {"options": 0}})", kFails},
    {"options boolean", R"({"threadtrackConfig": {"options": false}})", kFails},
};
INSTANTIATE_TEST_SUITE_P(Part, CloudConfigShape, testing::ValuesIn(kParts));

const Shape kLists[] = {
    {"null", R"({"processesConfig": {"processes": null}})", kNothing},
    {"empty array", R"({"processesConfig": {"processes": []}})", kNothing},
    {"empty object", R"({"processesConfig": {"processes": {}}})", kNothing},
    {"string", R"({"processesConfig": {"processes": "name"}})", kNothing},
    {"number", R"({"processesConfig": {"processes": 5}})", kNothing},
    {"real number", R"({"processesConfig": {"processes": 1.5}})", kNothing},
    {"boolean", R"({"processesConfig": {"processes": true}})", kNothing},
    {"object", R"({"processesConfig": {"processes": {
        "z": {"name": "a", "description": "1"}, "y": {"name": "b"}, "x": null}}})",
     processes(" (||-1) (a|1|-1) (b||-1)")},
    {"null elements", R"({"processesConfig": {"processes": [null, null]}})",
     processes(" (||-1) (||-1)")},
    {"empty element", R"({"processesConfig": {"processes": [{}]}})", processes(" (||-1)")},
    {"string element", R"({"processesConfig": {"processes": ["name"]}})", kFails},
    {"number element", R"({"processesConfig": {"processes": [0]}})", kFails},
    {"boolean element", R"({"processesConfig": {"processes": [false]}})", kFails},
    {"array element", R"({"processesConfig": {"processes": [[]]}})", kFails},
    {"object of numbers", R"({"processesConfig": {"processes": {"name": 1}}})", kFails},
    {"object of strings", R"({"processesConfig": {"processes": {"name": "a"}}})", kFails},
};
INSTANTIATE_TEST_SUITE_P(List, CloudConfigShape, testing::ValuesIn(kLists));

// What a faulty place leaves.

struct Fault {
    const char* name;
    const char* good;  // What stands in kSound ...
    const char* bad;   // ... and what is put in its place.
    const char* left;
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

constexpr char kSound[] = R"({"version": 1,
    "dmaMemInfoConfig": {"enable": false, "threshHold": 2, "interval": 3},
    "processesConfig": {"enable": false, "interval": 4, "processes": {
        "1": {"name": "b", "description": "5"},
        "2": {"name": "a", "description": "6"},
        "3": {"name": "c", "description": "8"}}},
    "threadtrackConfig": {"options": {"o": "9", "p": "10"}}})";

class CloudConfigFault : public CloudConfigKeys, public testing::WithParamInterface<Fault> {};

TEST_P(CloudConfigFault, LeavesWhatStandsBeforeItInTheOrderOfParsing) {
    const auto& [name, good, bad, left] = GetParam();
    std::string document = kSound;
    ASSERT_NE(std::string::npos, document.find(good));
    document.replace(document.find(good), strlen(good), bad);
    fillWithSevens();

    expectFault(document);

#ifdef __cpp_exceptions
    EXPECT_EQ(left, leftover());
#endif
}

const Fault kFaults[] = {
    {"syntax at the end", R"("10"}}})", R"("10"})",
     "version 7; dma true 7 7; processes true 7; options"},
    {"version", R"("version": 1)", R"("version": -1)",
     "version 7; dma true 7 7; processes true 7; options"},
    {"dma", R"("dmaMemInfoConfig": {"enable": false, "threshHold": 2, "interval": 3})",
     R"("dmaMemInfoConfig": 0)", "version 1; dma true 7 7; processes true 7; options"},
    {"dma enable", R"({"enable": false, "threshHold")", R"({"enable": "no", "threshHold")",
     "version 1; dma true 7 7; processes true 7; options"},
    {"dma threshHold", R"("threshHold": 2)", R"("threshHold": -2)",
     "version 1; dma false 7 7; processes true 7; options"},
    {"dma interval", R"("interval": 3)", R"("interval": -3)",
     "version 1; dma false 2 7; processes true 7; options"},
    {"processes enable", R"("enable": false, "interval": 4)", R"("enable": [], "interval": 4)",
     "version 1; dma false 2 3; processes true 7; options"},
    {"processes interval", R"("interval": 4)", R"("interval": "4")",
     "version 1; dma false 2 3; processes false 7; options"},
    {"first process", R"({"name": "b", "description": "5"})", "0",
     "version 1; dma false 2 3; processes false 4; options"},
    {"name of the first process", R"("name": "b")", R"("name": [])",
     "version 1; dma false 2 3; processes false 4; options"},
    {"description of the first process", R"("description": "5")", R"("description": {})",
     "version 1; dma false 2 3; processes false 4; options"},
    {"last process", R"({"name": "c", "description": "8"})", R"("c")",
     "version 1; dma false 2 3; processes false 4 (b|5|-1) (a|6|-1); options"},
    {"thread track", R"("threadtrackConfig": {"options": {"o": "9", "p": "10"}})",
     R"("threadtrackConfig": [])",
     "version 1; dma false 2 3; processes false 4 (a|6|-1) (b|5|-1) (c|8|-1); options"},
    {"options", R"("options": {"o": "9", "p": "10"})", R"("options": "o")",
     "version 1; dma false 2 3; processes false 4 (a|6|-1) (b|5|-1) (c|8|-1); options"},
    {"first option", R"("o": "9")", R"("o": [])",
     "version 1; dma false 2 3; processes false 4 (a|6|-1) (b|5|-1) (c|8|-1); options"},
    {"last option", R"("p": "10")", R"("p": {})",
     "version 1; dma false 2 3; processes false 4 (a|6|-1) (b|5|-1) (c|8|-1); options (o=9)"},
};
INSTANTIATE_TEST_SUITE_P(Each, CloudConfigFault, testing::ValuesIn(kFaults));

}  // namespace
