#include "net/command_request.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

TEST(SplitRequest, SplitsAtTheFirstEqualsSign) {
    struct Case {
        const char* text;
        const char* key;
        const char* value;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"", "", "", "no text"},
        {"=", "", "", "the sign alone"},
        {"PowerOn\n", "PowerOn\n", "PowerOn\n", "without the sign both are the whole text"},
        {"a=b", "a", "b", "one sign"},
        {"a=b=c\n", "a", "b=c\n", "further signs are the value's"},
        {"a==b", "a", "=b", "side by side"},
        {"=b", "", "b", "no key"},
        {"a=", "a", "", "no value"},
        {" a = b ", " a ", " b ", "blanks stay"},
        {"one\ntwo=3", "one\ntwo", "3", "behind a line feed"},
    };
    for (const Case& c : kCases) {
        const CommandRequest request = split_request(c.text);
        EXPECT_EQ(request.key, c.key) << c.why;
        EXPECT_EQ(request.value, c.value) << c.why;
    }
}

TEST(IsCommand, LooksAtTheFirstTwoCharactersOfTheKey) {
    struct Case {
        const char* text;
        bool expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"__TEST__:PowerOn\n", true, "a command"},
        {"__", true, "nothing behind the underscores"},
        {"__SET__:a=1", true, "with a value"},
        {"___", true, "a third underscore"},
        {"_", false, "one underscore"},
        {"", false, "no text"},
        {"_T_", false, "not side by side"},
        {" __TEST__", false, "a blank before them"},
        {"PowerOn__", false, "at the end"},
        {"a=__b", false, "in the value"},
        {"=__b", false, "in the value of an empty key"},
    };
    for (const Case& c : kCases) EXPECT_EQ(is_command(split_request(c.text)), c.expected) << c.why;
}

TEST(TriggerText, IsTheKeyEndedByALineFeed) {
    struct Case {
        const char* text;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"PowerOn", "PowerOn\n", "without a line end"},
        {"PowerOn\n", "PowerOn\n", "with one"},
        {"PowerOn\n\n", "PowerOn\n\n", "with two"},
        {"PowerOn\r\n", "PowerOn\r\n", "a carriage return stays"},
        {"a=b", "a\n", "the value is dropped"},
        {"a\n=b", "a\n", "a key that ends in a line feed"},
        {"", "\n", "no text"},
        {"\n", "\n", "a lone line feed"},
        {"one\ntwo", "one\ntwo\n", "two lines"},
    };
    for (const Case& c : kCases)
        EXPECT_EQ(trigger_text(split_request(c.text)), c.expected) << c.why;
}

TEST(QueuedReply, EchoesTheTriggerAndNotesARefusal) {
    struct Case {
        const char* trigger;
        std::int32_t result;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"PowerOn\n", 0, "PowerOn\n", "queued"},
        {"PowerOn\n", 1, "PowerOn\n", "only a negative result is a refusal"},
        {"PowerOn\n", -1, "PowerOn\n; Error: Too many commands, skip it\n", "refused"},
        {"PowerOn", 0, "PowerOn\n", "a line feed at the end in any case"},
    };
    for (const Case& c : kCases) EXPECT_EQ(queued_reply(c.trigger, c.result), c.expected) << c.why;
}

TEST(DisabledReply, NamesTheKeyWithoutAddingALineFeed) {
    struct Case {
        const char* text;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"PowerOn", "Event Disabled, skip PowerOn", "without a line end"},
        {"PowerOn\n", "Event Disabled, skip PowerOn\n", "with one"},
        {"a=b", "Event Disabled, skip a", "the value is dropped"},
        {"", "Event Disabled, skip ", "no text"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(disabled_reply(split_request(c.text)), c.expected) << c.why;
    }
}

}  // namespace
}  // namespace ruvo
