// How the configuration uses the JSON library. This program stands between the two, and notes the
// library's calls in order:
//
//     Value <type>, >>, ~Value
//     [<key>]             a lookup by a literal key
//     [name <key>]        a lookup by a string
//     asUInt, asUInt64, asBool, asString, getMemberNames

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <string.h>
#include <wardline/CloudConfig.h>

#include "support/CloudConfigTest.h"

namespace {

using android::getCloudConfig;
using Texts = std::vector<std::string>;

/** Where the document is, and whether the file was open still when it went. */
struct Document {
    const void* value = nullptr;
    int openAtEnd = -1;
};
Document document;

class CloudConfigJson : public CloudConfigTest {
  protected:
    CloudConfigJson() { withoutWatcher(); }

    /** The calls of one parse. */
    static Texts parse(const std::string& text) {
        deliver(text);
        getCloudConfig(nullptr);
        return calls();
    }
};

TEST_F(CloudConfigJson, ReadsEveryKeyInItsOrder) {
    EXPECT_EQ((Texts{"Value 0",
                     ">>",
                     "[version]",
                     "asUInt",
                     "[dmaMemInfoConfig]",
                     "[enable]",
                     "asBool",
                     "[threshHold]",
                     "asUInt64",
                     "[interval]",
                     "asUInt64",
                     "[processesConfig]",
                     "[enable]",
                     "asBool",
                     "[interval]",
                     "asUInt64",
                     "[processes]",
                     "[name]",
                     "asString",
                     "[description]",
                     "asString",
                     "[name]",
                     "asString",
                     "[description]",
                     "asString",
                     "[threadtrackConfig]",
                     "[options]",
                     "getMemberNames",
                     "[name o]",
                     "asString",
                     "[name p]",
                     "asString",
                     "~Value"}),
              parse(R"({"threadtrackConfig": {"options": {"p": 1, "o": 2}},
                        "processesConfig": {"processes": [{"name": "b"}, {"name": "a"}]}})"));
}

TEST_F(CloudConfigJson, DestroysTheDocumentBeforeItClosesTheFile) {
    parse("{}");

    EXPECT_EQ(1, document.openAtEnd);
    EXPECT_EQ(0, openDescriptorsTo(kFile));
}

TEST_F(CloudConfigJson, IsNotCalledForAFileThatCannotBeOpened) {
    getCloudConfig(nullptr);

    EXPECT_EQ((Texts{"log 6 " + cannotOpen(ENOENT).text}), calls());
}

#ifdef __cpp_exceptions
TEST_F(CloudConfigJson, DestroysTheDocumentAlsoWhenItIsMalformed) {
    EXPECT_THROW(parse("no JSON"), Json::RuntimeError);

    EXPECT_EQ((Texts{"Value 0", ">>", "~Value"}), calls());
    EXPECT_EQ(0, openDescriptorsTo(kFile));
}
#endif

/** The JSON library's own function for one of ours, which has the same symbol. */
template <typename Function, typename Ours>
Function* next(Ours ours) {
    void* address = nullptr;
    memcpy(&address, &ours, sizeof(address));  // Of a member function it is what comes first.
    Dl_info symbol = {};
    dladdr(address, &symbol);
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol.dli_sname));
}

void noteFrom(const void* caller, const std::string& call) {
    if (isOfLibrary(caller)) noteCall(call);
}

}  // namespace

namespace Json {

IStream& operator>>(IStream& stream, Value& value) {
    noteFrom(__builtin_return_address(0), ">>");
    return next<IStream&(IStream&, Value&)>(
        static_cast<IStream& (*)(IStream&, Value&)>(operator>>))(stream, value);
}

const Value& Value::operator[](const char* key) const {
    noteFrom(__builtin_return_address(0), std::string("[") + key + "]");
    using Ours = const Value& (Value::*)(const char*) const;
    return next<const Value&(const Value*, const char*)>(static_cast<Ours>(&Value::operator[]))(
        this, key);
}

const Value& Value::operator[](const String& key) const {
    noteFrom(__builtin_return_address(0), "[name " + key + "]");
    using Ours = const Value& (Value::*)(const String&) const;
    return next<const Value&(const Value*, const String&)>(static_cast<Ours>(&Value::operator[]))(
        this, key);
}

UInt Value::asUInt() const {
    noteFrom(__builtin_return_address(0), "asUInt");
    return next<UInt(const Value*)>(&Value::asUInt)(this);
}

UInt64 Value::asUInt64() const {
    noteFrom(__builtin_return_address(0), "asUInt64");
    return next<UInt64(const Value*)>(&Value::asUInt64)(this);
}

bool Value::asBool() const {
    noteFrom(__builtin_return_address(0), "asBool");
    return next<bool(const Value*)>(&Value::asBool)(this);
}

String Value::asString() const {
    noteFrom(__builtin_return_address(0), "asString");
    return next<String(const Value*)>(&Value::asString)(this);
}

Value::Members Value::getMemberNames() const {
    noteFrom(__builtin_return_address(0), "getMemberNames");
    return next<Members(const Value*)>(&Value::getMemberNames)(this);
}

}  // namespace Json

// Not as members, which would begin and end the lives of a value's parts a second time.
void constructValue(void* value, Json::ValueType type) asm("_ZN4Json5ValueC1ENS_9ValueTypeE");
void destroyValue(void* value) asm("_ZN4Json5ValueD1Ev");

void constructValue(void* value, Json::ValueType type) {
    if (isOfLibrary(__builtin_return_address(0))) {
        noteCall("Value " + std::to_string(type));
        document = {value, -1};
    }
    next<void(void*, Json::ValueType)>(constructValue)(value, type);
}

void destroyValue(void* value) {
    if (value == document.value) {
        noteCall("~Value");
        document = {nullptr, openDescriptorsTo("/data/syslog/settings/stab_cloud_config.json")};
    }
    next<void(void*)>(destroyValue)(value);
}
