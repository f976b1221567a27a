#include "settings/enable_switch.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(ParseSwitch, LooksAtTheBeginningWhateverTheCase) {
    struct Case {
        std::string output;
        std::optional<bool> expected;
        const char* why;
    };
    const Case cases[] = {
        {"true\n", true, "the usual answer"},
        {"false\n", false, "the usual answer"},
        {"true", true, "without a line feed"},
        {"TRUE\n", true, "capitals"},
        {"False\n", false, "mixed case"},
        {"tRuE", true, "mixed case"},
        {"trueish\n", true, "four characters are compared"},
        {"falsehood\n", false, "five characters are compared"},
        {"tru\n", std::nullopt, "too short for true"},
        {"fals\n", std::nullopt, "too short for false"},
        {"", std::nullopt, "no output"},
        {"\n", std::nullopt, "an empty line"},
        {"1\n", std::nullopt, "a number"},
        {"0\n", std::nullopt, "a number"},
        {" true\n", std::nullopt, "a blank before the word"},
        {"error: true\n", std::nullopt, "the word further behind"},
        {"tr\0ue"s, std::nullopt, "a zero byte inside the word"},
        {"true\0x"s, true, "a zero byte behind the word"},
    };
    for (const Case& c : cases) EXPECT_EQ(parse_switch(c.output), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo
