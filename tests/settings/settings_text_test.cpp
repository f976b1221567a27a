#include "settings/settings_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvo {
namespace {

TEST(ParseSettingsLine, SplitsAtTheFirstEqualsSignAndTrimsNothing) {
    struct Case {
        const char* line;
        EventDefinition expected;
        const char* why;
    };
    const Case cases[] = {
        {"=", {0, "", "", "", ""}, "an empty key and an empty value"},
        {"=\n", {0, "", "", "", ""}, "the same with a line feed"},
        {"=3\n", {0, "", "", "", "3"}, "an empty key"},
        {"PowerOnCount=", {1, "PowerOn", "Count", "", ""}, "a last line without a line feed"},
        {"PowerOnCount=3\n", {1, "PowerOn", "Count", "", "3"}, "the usual line"},
        {"PowerOnCount=3", {1, "PowerOn", "Count", "", "3"}, "no line feed to drop"},
        {"PowerOnCount=3=4\n", {1, "PowerOn", "Count", "", "3=4"}, "more signs are the value's"},
        {"PowerOnCount==\n", {1, "PowerOn", "Count", "", "="}, "a value that is a sign"},
        {"PowerOnCount=3\r\n", {1, "PowerOn", "Count", "", "3\r"}, "a carriage return stays"},
        {"PowerOnCount=3\n\n", {1, "PowerOn", "Count", "", "3\n"}, "one line feed is dropped"},
        {"PowerOnCount= 3 \n", {1, "PowerOn", "Count", "", " 3 "}, "blanks around the value"},
        {" PowerOnCount=3\n", {1, " PowerOn", "Count", "", "3"}, "a blank before the key"},
        {"PowerOnCount =3\n", {2, "PowerOn", "Count", " ", "3"}, "a blank behind the key"},
        {"\tPowerOnCount=3\n", {1, "\tPowerOn", "Count", "", "3"}, "a tab before the key"},
        {"#PowerOnCount=3\n", {1, "#PowerOn", "Count", "", "3"}, "there are no comments"},
        {"PowerOnData1=4142\n", {2, "PowerOn", "Data", "1", "4142"}, "an index"},
        {"DataEncode=HEX\n", {0, "DataEncode", "", "", "HEX"}, "a plain key"},
    };
    for (const Case& c : cases) {
        const auto parsed = parse_settings_line(c.line);
        ASSERT_TRUE(parsed) << c.why;
        EXPECT_EQ(*parsed, c.expected) << c.why;
    }
}

TEST(ParseSettingsLine, GivesNothingWithoutAnEqualsSign) {
    for (const char* line : {"", "\n", "PowerOnCount\n", "# a remark\n", "PowerOnCount: 3\n"}) {
        EXPECT_FALSE(parse_settings_line(line)) << "'" << line << "'";
    }
}

TEST(DefaultSettingsLines, TellAFreshDevicesSettings) {
    const std::array<std::string, 10> expected{
        "EnableEvents=true\n",      "FastCableDetectEvents=false\n", "PowerOnCount=0\n",
        "PowerOnDelay=1\n",         "DVIConnectedCount=0\n",         "DVIConnectedDelay=0\n",
        "DVIDisconnectedCount=0\n", "DVIDisconnectedDelay=0\n",      "GenericEventsCount=0\n",
        "DataEncode=HEX\n"};
    EXPECT_EQ(default_settings_lines(true), expected);
}

TEST(DefaultSettingsLines, BeginWithTheSwitchAsItStands) {
    EXPECT_EQ(default_settings_lines(false)[0], "EnableEvents=false\n");
    EXPECT_EQ(default_settings_lines(false)[9], "DataEncode=HEX\n");
}

}  // namespace
}  // namespace ruvo
