#include "core/client_mode.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace ruvo {
namespace {

using Report = std::map<std::string, std::string>;

TEST(ParseStatusReply, SplitsLinesIntoKeysAndValues) {
    struct Case {
        std::string text;
        Report expected;
        const char* why;
    };
    const Case cases[] = {
        {"", {}, "no text"},
        {"\n\n", {}, "line ends alone"},
        {"no colon\nat all\n", {}, "no colon"},
        {"a:1", {{"a", "1"}}, "without a line end"},
        {"a:1\n", {{"a", "1"}}, "with one"},
        {"a: 1\nb:2", {{"a", "1"}, {"b", "2"}}, "two lines"},
        {"b:2\na:1\n", {{"a", "1"}, {"b", "2"}}, "in another order"},
        {"a:   1", {{"a", "1"}}, "spaces behind the colon are passed over"},
        {"a:::1", {{"a", "1"}}, "so are further colons"},
        {"a: : :1", {{"a", "1"}}, "so are both, mixed"},
        {"a:\t1", {{"a", "\t1"}}, "a tab is no space"},
        {"a:\v1", {{"a", "\v1"}}, "nor is any other white space"},
        {"a:1  \n", {{"a", "1  "}}, "spaces behind the value stay"},
        {"a:1 2:3\n", {{"a", "1 2:3"}}, "colons and spaces in the value stay"},
        {" a :1", {{" a ", "1"}}, "spaces around the key stay"},
        {"a:1\n\n\nb:2\n", {{"a", "1"}, {"\n\nb", "2"}}, "empty lines stay before the next key"},
        {"a:1\nnoise\nb:2\n", {{"a", "1"}, {"noise\nb", "2"}}, "so does a line without a colon"},
        {"a:\nb:2\n", {{"a", ""}, {"b", "2"}}, "a line end ends the search for a value"},
        {"a: : \nb:2\n", {{"a", ""}, {"b", "2"}}, "behind spaces and colons too"},
        {"a:", {}, "nothing behind the colon"},
        {"a: : ", {}, "nothing but spaces and colons behind it"},
        {"a:1\nb:", {{"a", "1"}}, "nothing behind the last colon"},
        {":1\n", {{"", "1"}}, "an empty key"},
        {"a:1\na:2\n", {{"a", "1"}}, "a key that comes again keeps its first value"},
        {"a:\na:2\n", {{"a", ""}}, "also when that is empty"},
        {"a:1\nA:2\n", {{"A", "2"}, {"a", "1"}}, "case counts"},
        {"a:1\r\nb:2\r\n", {{"a", "1\r"}, {"b", "2\r"}}, "a carriage return is no line end here"},
        {"a:\xC3\xA4\n\xFF:2", {{"a", "\xC3\xA4"}, {"\xFF", "2"}}, "bytes of any value"},
    };
    for (const Case& c : cases) EXPECT_EQ(parse_status_reply(c.text), c.expected) << c.why;
}

TEST(ParseStatusReply, OrdersItsKeysByTheirBytes) {
    std::string keys;
    for (const auto& [key, value] : parse_status_reply("\xC3:1\nb:1\na:1\nZ:1\na b:1\n")) {
        keys += key + "|";
    }
    EXPECT_EQ(keys, "Z|a|a b|b|\xC3|");
}

}  // namespace
}  // namespace ruvo
