#include "ruvoctl/plan/escaped_bytes.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

TEST(EscapedBytes, ReplacesFiveEscapesAndNoOthers) {
    struct Case {
        const char* text;
        std::optional<std::string> expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "nothing"},
        {"PowerOn", "PowerOn", "plain text"},
        {R"(a\r\n\t\\b)", "a\r\n\t\\b", "the named ones"},
        {R"(\x00\x0d\xFF\xaB)", "\0\x0D\xFF\xAB"s, "bytes in either case"},
        {R"(\\n)", "\\n", "a doubled backslash is used up"},
        {R"(\)", std::nullopt, "nothing behind the backslash"},
        {R"(\q)", std::nullopt, "unknown"},
        {R"(\x)", std::nullopt, "no digits"},
        {R"(\x1)", std::nullopt, "one digit"},
        {R"(\x1g)", std::nullopt, "a bad digit"},
        {R"(\x-1)", std::nullopt, "a sign is no digit"},
        {R"(\x+1)", std::nullopt, "neither is this"},
        {R"(\x 1)", std::nullopt, "nor a blank"},
    };
    for (const Case& c : cases) EXPECT_EQ(escaped_bytes(c.text), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo::ctl
