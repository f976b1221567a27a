#include "settings/mirrors.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(AsciiMirrorLine, ShowsDataAsTheBytesItStandsFor) {
    struct Case {
        EventDefinition definition;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {{1, "PowerOn", "Data", "", "414243"}, "PowerOnData=ABC\n", "without an index"},
        {{2, "PowerOn", "Data", "1", "414243"}, "PowerOnData1=ABC\n", "with an index"},
        {{1, "PowerOn", "Data", "", ""}, "PowerOnData=\n", "no data"},
        {{1, "PowerOn", "Data", "", "414"}, "PowerOnData=A\x04\n", "a lone last digit"},
        {{1, "PowerOn", "Data", "", "zz"}, "PowerOnData=\0\n"s, "no digits"},
        {{1, "PowerOn", "Data", "", "0x41"}, "PowerOnData=\0A\n"s, "the pair 0x reads as 0"},
        {{1, "PowerOn", "Data", "", "4142\r"}, "PowerOnData=AB\0\n"s, "a carriage return"},
        {{1, "PowerOn", "Count", "", "41"}, "PowerOnCount=41\n", "another field"},
        {{2, "PowerOn", "IP", "0", "3132"}, "PowerOnIP0=3132\n", "another field with an index"},
        {{0, "DataEncode", "", "", "HEX"}, "DataEncode=HEX\n", "a plain key that begins so"},
        {{0, "", "", "", "x"}, "=x\n", "an empty key"},
    };
    for (const Case& c : cases) EXPECT_EQ(ascii_mirror_line(c.definition), c.expected) << c.why;
}

TEST(RawDumpLine, GivesALineBackAsItWasRead) {
    struct Case {
        EventDefinition definition;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {{1, "PowerOn", "Data", "", "414243"}, "PowerOnData=414243\n", "data stays hexadecimal"},
        {{2, "PowerOn", "Data", "1", "41"}, "PowerOnData1=41\n", "the key is put together again"},
        {{1, "PowerOn", "Count", "", "3=4"}, "PowerOnCount=3=4\n", "a value with a sign"},
        {{1, "PowerOn", "Count", "", "3\r"}, "PowerOnCount=3\r\n", "a carriage return"},
        {{0, "EnableEvents", "", "", "true"}, "EnableEvents=true\n", "a plain key"},
        {{0, "", "", "", ""}, "=\n", "an empty key and an empty value"},
    };
    for (const Case& c : cases) EXPECT_EQ(raw_dump_line(c.definition), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo
