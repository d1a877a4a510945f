// Properties of a process that runs outside a device root.

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

class PropertiesOutside : public testing::Test {
  protected:
    PropertiesOutside() { rename("/dev/__properties__", "/dev/properties.away"); }
    ~PropertiesOutside() override { rename("/dev/properties.away", "/dev/__properties__"); }

    static std::string get(const char* name) {
        char value[PROPERTY_VALUE_MAX];
        property_get(name, value, "default");
        return value;
    }
};

TEST_F(PropertiesOutside, BelongToTheProcessAlone) {
    EXPECT_EQ("default", get("name"));
    EXPECT_EQ(0, property_set("name", "parent"));
    if (fork() == 0) _exit(property_set("name", "child"));
    int status = -1;
    wait(&status);

    EXPECT_EQ(0, status);
    EXPECT_EQ("parent", get("name"));
}

TEST_F(PropertiesOutside, KeepTheSameRules) {
    EXPECT_EQ(0, property_set("ro.name", "first"));
    EXPECT_GT(0, property_set("ro.name", "second"));
    EXPECT_GT(0, property_set("name", std::string(92, 'v').c_str()));
    EXPECT_GT(0, property_set("no name", "1"));

    EXPECT_EQ("first", get("ro.name"));
}

}  // namespace
