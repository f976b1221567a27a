#include "net/command_text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

TEST(SplitCommand, SplitsAtTheFirstColon) {
    struct Case {
        const char* key;
        const char* word;
        const char* argument;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"__TEST__:PowerOn", "__TEST__", "PowerOn", "word and argument"},
        {"__SET__:a=1", "__SET__", "a=1", "an equals sign is the argument's"},
        {"__GET__:a:b:", "__GET__", "a:b:", "further colons are the argument's"},
        {"__TEST__:", "__TEST__", "", "no argument"},
        {"__TEST__::", "__TEST__", ":", "a colon as argument"},
        {"__: x ", "__", " x ", "blanks stay"},
        {"FOO:x", "FOO", "x", "any word"},
        {"a\nb:c\nd", "a\nb", "c\nd", "line feeds inside stay"},
    };
    for (const Case& c : kCases) {
        const auto command = split_command(c.key);
        ASSERT_TRUE(command) << c.why;
        EXPECT_EQ(command->word, c.word) << c.why;
        EXPECT_EQ(command->argument, c.argument) << c.why;
    }
}

TEST(SplitCommand, GivesNothingWithoutAWordBeforeAColon) {
    for (const char* const key : {"", "__TEST__", "__TEST__=1", ":", ":PowerOn", "::"}) {
        EXPECT_FALSE(split_command(key)) << "'" << key << "'";
    }
}

TEST(NamedKey, IsTheArgumentUpToItsFirstEqualsSign) {
    struct Case {
        const char* argument;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"network.ruvo.enable", "network.ruvo.enable", "all of it without one"},
        {"network.ruvo.enable=1=2", "network.ruvo.enable", "the first one counts"},
        {"=1", "", "nothing before it"},
        {"", "", "no argument"},
        {" a = b", " a ", "blanks stay"},
    };
    for (const Case& c : kCases) EXPECT_EQ(named_key(c.argument), c.expected) << c.why;
}

TEST(SwitchRequest, LooksAtTheKeyAndThenAtTheValue) {
    using enum SwitchRequest;
    struct Case {
        const char* key;
        const char* value;
        SwitchRequest expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"network.ruvo.enable", "1", kOn, "on"},
        {"network.ruvo.enable", "0", kOff, "off"},
        {"NETWORK.RUVO.ENABLE", "1", kOn, "in capitals"},
        {"Network.Ruvo.Enable", "0", kOff, "in both cases"},
        {"network.ruvo.enable", "1\n", kBadValue, "a line feed counts"},
        {"network.ruvo.enable", "1\r", kBadValue, "a carriage return counts"},
        {"network.ruvo.enable", "1 ", kBadValue, "a blank behind it"},
        {"network.ruvo.enable", " 1", kBadValue, "a blank before it"},
        {"network.ruvo.enable", "01", kBadValue, "a leading zero"},
        {"network.ruvo.enable", "10", kBadValue, "a further digit"},
        {"network.ruvo.enable", "2", kBadValue, "another digit"},
        {"network.ruvo.enable", "yes", kBadValue, "a word"},
        {"network.ruvo.enable", "true", kBadValue, "the tool's own word"},
        {"network.ruvo.enable", "", kBadValue, "no value"},
        {"network.ruvo.enable", "\n", kBadValue, "a line feed alone"},
        {"network.ruvo.enable", "\n1", kBadValue, "a line feed before it"},
        {"network.ruvo.import", "1", kOtherKey, "another key"},
        {"network.ruvo.enabled", "1", kOtherKey, "a longer key"},
        {"network.ruvo.enabl", "1", kOtherKey, "a shorter key"},
        {"network.ruvo.enable ", "1", kOtherKey, "a blank behind it"},
        {" network.ruvo.enable", "1", kOtherKey, "a blank before it"},
        {"network.ruvo.enable\n", "1", kOtherKey, "a line feed behind it"},
        {"network-ruvo-enable", "1", kOtherKey, "another character between"},
        {"", "1", kOtherKey, "no key"},
        {"other", "yes", kOtherKey, "the key is looked at first"},
    };
    for (const Case& c : kCases) EXPECT_EQ(switch_request(c.key, c.value), c.expected) << c.why;
}

TEST(TestReply, NamesTheEventAsItCame) {
    EXPECT_EQ(test_reply("PowerOn"), "call event PowerOn");
    EXPECT_EQ(test_reply("PowerOn\n"), "call event PowerOn\n");
    EXPECT_EQ(test_reply(""), "call event ");
}

TEST(GetReply, IsALineOfKeyAndValue) {
    EXPECT_EQ(get_reply("network.ruvo.enable", "1"), "network.ruvo.enable=1\n");
    EXPECT_EQ(get_reply("network.ruvo.enable", ""), "network.ruvo.enable=\n");
    EXPECT_EQ(get_reply("", ""), "=\n");
    EXPECT_EQ(get_reply("a", "one\ntwo="), "a=one\ntwo=\n");
}

TEST(FailReply, IsALineWithTheCommand) {
    EXPECT_EQ(fail_reply("__SET__"), "Error: fail command:__SET__\n");
    EXPECT_EQ(fail_reply(""), "Error: fail command:\n");
    EXPECT_EQ(fail_reply("__TEST__\n"), "Error: fail command:__TEST__\n\n");
}

}  // namespace
}  // namespace ruvo
