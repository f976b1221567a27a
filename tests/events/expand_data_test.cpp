#include "events/expand_data.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

std::tm moment(int year, int month, int day, int hour, int minute, int second) {
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

MacroValues values_with(StatusVariables variables) {
    return {std::make_shared<const StatusVariables>(std::move(variables)),
            moment(2024, 10, 17, 3, 18, 38), 90};
}

TEST(FormatDate, EndsInABlank) {
    struct Case {
        std::tm time;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {moment(2024, 10, 17, 3, 18, 38), "2024-10-17 ", "two digits each"},
        {moment(2024, 1, 2, 0, 0, 0), "2024-01-02 ", "padded with zeros"},
        {moment(1970, 12, 31, 23, 59, 59), "1970-12-31 ", "the last day of a year"},
        {moment(999, 1, 1, 0, 0, 0), "0999-01-01 ", "a year of three digits"},
        {moment(12024, 1, 1, 0, 0, 0), "12024-01-01 ", "a year of five digits"},
        {moment(-5, 1, 1, 0, 0, 0), "-005-01-01 ", "a year before the first"},
    };
    for (const Case& c : cases) EXPECT_EQ(format_date(c.time), c.expected) << c.why;
}

TEST(FormatTime, PadsWithZeros) {
    EXPECT_EQ(format_time(moment(2024, 10, 17, 3, 18, 38)), "03:18:38");
    EXPECT_EQ(format_time(moment(2024, 10, 17, 0, 0, 0)), "00:00:00");
    EXPECT_EQ(format_time(moment(2024, 12, 31, 23, 59, 60)), "23:59:60");
}

TEST(ResolveMacro, TellsWhereAValueComesFrom) {
    const MacroValues values = values_with({{"time", "now"}});
    EXPECT_EQ(resolve_macro("time", values).source, MacroSource::kStatus);
    EXPECT_EQ(resolve_macro("date", values).source, MacroSource::kDate);
    EXPECT_EQ(resolve_macro("TIME", values).source, MacroSource::kTime);
    EXPECT_EQ(resolve_macro("uptime", values).source, MacroSource::kUptime);
    EXPECT_EQ(resolve_macro("input", values).source, MacroSource::kUnknown);
}

TEST(ExpandMacro, LooksAtStatusVariablesFirst) {
    const MacroValues values = values_with({{"input", "HDMI1"},
                                            {"input", "second"},
                                            {"time", "now"},
                                            {"Date", "today"},
                                            {"", "nothing"},
                                            {" pad ", "blanks"},
                                            {"zero\0x"s, "whole"},
                                            {"empty", ""}});
    struct Case {
        std::string name;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {"input", "HDMI1", "the first of two equal names"},
        {"Input", "", "names are case-sensitive"},
        {"inpu", "", "a name cut short"},
        {"input ", "", "a trailing blank"},
        {" pad ", "blanks", "blanks belong to a name"},
        {"time", "now", "a variable wins over the built-in macro"},
        {"Time", "03:18:38", "but not under another case"},
        {"Date", "today", "a variable in the macro's own case"},
        {"date", "2024-10-17 ", "the built-in macro in any other"},
        {"", "nothing", "an empty name"},
        {"zero\0x"s, "whole", "names are compared beyond a zero byte"},
        {"zero", "", "names are compared beyond a zero byte"},
        {"empty", "", "an empty value"},
    };
    for (const Case& c : cases) EXPECT_EQ(expand_macro(c.name, values), c.expected) << c.why;
}

TEST(ExpandMacro, KnowsItsBuiltInNamesInAnyCase) {
    struct Case {
        std::string name;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {"date", "2024-10-17 ", "with its blank"},
        {"DATE", "2024-10-17 ", "capitals"},
        {"Date", "2024-10-17 ", "mixed case"},
        {"time", "03:18:38", "small letters"},
        {"TIME", "03:18:38", "capitals"},
        {"uptime", "90", "small letters"},
        {"UpTime", "90", "mixed case"},
        {"time\0zone"s, "03:18:38", "a built-in name ends at its first zero byte"},
        {"times", "", "longer"},
        {"tim", "", "shorter"},
        {" time", "", "a leading blank"},
        {"", "", "no name"},
        {"lamp", "", "unknown"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(expand_macro(c.name, values_with({})), c.expected) << c.why;
}

TEST(ExpandMacro, WritesTheUptimeAsASignedDecimalNumber) {
    MacroValues values = values_with({});
    values.uptime_s = 0;
    EXPECT_EQ(expand_macro("uptime", values), "0");
    values.uptime_s = -5;
    EXPECT_EQ(expand_macro("uptime", values), "-5");
    values.uptime_s = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(expand_macro("uptime", values), "9223372036854775807");
    values.uptime_s = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(expand_macro("uptime", values), "-9223372036854775808");
}

TEST(ExpandData, FindsMacrosFromLeftToRightWithoutNesting) {
    const MacroValues values = values_with({{"a", "1"},
                                            {"b", "2"},
                                            {"a{{b", "both"},
                                            {"{a", "brace"},
                                            {"{", "lone"},
                                            {"}", "closing"},
                                            {"x}", "tail"}});
    struct Case {
        std::string data;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "no data"},
        {"plain", "plain", "no macro"},
        {"{{a}}", "1", "nothing but a macro"},
        {"x{{a}}y", "x1y", "text on both sides"},
        {"{{a}}{{b}}", "12", "two side by side"},
        {"{{a}}-{{b}}-", "1-2-", "two apart"},
        {"{{a{{b}}", "both", "the first opening and the first closing belong together"},
        {"a{{b", "a{{b", "an opening without a closing"},
        {"a}}b", "a}}b", "a closing without an opening"},
        {"}}{{a", "}}{{a", "in the wrong order"},
        {"}}{{a}}", "}}1", "a stray closing before a macro"},
        {"{{a}}}}", "1}}", "a stray closing behind a macro"},
        {"{{a}}{{b", "1{{b", "an opening at the end"},
        {"{{a}", "{{a}", "half a closing"},
        {"{a}", "{a}", "single braces"},
        {"{", "{", "a single brace"},
        {"{{", "{{", "an opening alone"},
        {"}}", "}}", "a closing alone"},
        {"{{}", "{{}", "three braces"},
        {"{}}", "{}}", "three braces"},
        {"{{}}", "", "an empty name"},
        {"{{}}}", "}", "the closing is the first one"},
        {"{{x}}}", "}", "the closing is the first one, behind a name as well"},
        {"{{{a}}", "brace", "the opening is the first one"},
        {"{{{}}", "lone", "a name that is a brace"},
        {"{{{a}}}", "brace}", "three braces on both sides"},
        {"{{unknown}}", "", "an unknown macro vanishes"},
        {"x{{unknown}}y", "xy", "with its braces"},
        {"{{a\0}}b"s, "b", "a zero byte in a name"},
        {"\0{{a}}\0"s, "\0001\0"s, "zero bytes around a macro"},
        {"\xFF{{a}}\xFE", "\xFF\x31\xFE", "other bytes around a macro"},
    };
    for (const Case& c : cases) EXPECT_EQ(expand_data(c.data, values), c.expected) << c.why;
}

TEST(ExpandData, GivesEmptyBracesTheValueOfTheEmptyName) {
    EXPECT_EQ(expand_data("{{}}", values_with({{"", "none"}})), "none");
    EXPECT_EQ(expand_data("{{}}", values_with({})), "");
}

TEST(ExpandData, ExpandsBuiltInMacrosInAnyCase) {
    EXPECT_EQ(expand_data("{{DATE}}{{Date}}{{uptime}}", values_with({})),
              "2024-10-17 2024-10-17 90");
}

TEST(ExpandData, UnescapesBehindTheMacros) {
    EXPECT_EQ(expand_data("T={{time}}\\r\\n", values_with({})), "T=03:18:38\r\n");
}

TEST(ExpandData, UnescapesWhatAMacroBroughtIn) {
    const MacroValues values = values_with({{"line", "one\\ntwo"}, {"slash", "\\"}});
    EXPECT_EQ(expand_data("{{line}}", values), "one\ntwo");
    EXPECT_EQ(expand_data("{{slash}}n", values), "\n");
}

TEST(ExpandData, DoesNotExpandWhatAMacroBroughtIn) {
    EXPECT_EQ(expand_data("{{outer}}", values_with({{"outer", "{{time}}"}})), "{{time}}");
}

TEST(ExpandData, DoesNotUnescapeInsideAMacroName) {
    EXPECT_EQ(expand_data("{{a\\nb}}", values_with({{"a\\nb", "found"}})), "found");
}

}  // namespace
}  // namespace ruvo
