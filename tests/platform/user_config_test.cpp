#include "platform/user_config.h"

#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using test::repeated;

TEST(SectionQuery, AsksForTheSectionThatTheKeyBeginsWith) {
    struct Case {
        std::string key;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"network.ruvo.enable", "{\"network\":{}}", "up to the first dot"},
        {"network", "{\"network\":{}}", "the whole key without one"},
        {"", "{\"\":{}}", "no key"},
        {".ruvo", "{\"\":{}}", "nothing before the dot"},
        {"network.", "{\"network\":{}}", "nothing behind it"},
        {"a..b", "{\"a\":{}}", "two dots"},
        {"a b.c", "{\"a b\":{}}", "blanks stay"},
        {"a\"b.c", "{\"a\"b\":{}}", "a quote stays as it is"},
        {"%s%n.a", "{\"%s%n\":{}}", "percent signs are text"},
        {repeated(126, 'x') + ".a", "{\"" + repeated(126, 'x') + "\":{}}", "a dot that fits"},
        {repeated(127, 'x') + ".a", "{\"" + repeated(127, 'x') + "\":{}}", "a section that fits"},
        {repeated(128, 'x') + ".a", "{\"" + repeated(127, 'x') + "\":{}}", "one byte too many"},
        {repeated(127, 'x'), "{\"" + repeated(127, 'x') + "\":{}}", "a key that fits"},
        {repeated(1000, 'x'), "{\"" + repeated(127, 'x') + "\":{}}", "far too many"},
    };
    for (const Case& c : cases) EXPECT_EQ(section_query(c.key), c.expected) << c.why;
}

class GetTokenValueTest : public testing::Test {
    test::FreshProcessState process_state_;
};

TEST_F(GetTokenValueTest, TellsItsQueryWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { (void)get_token_value("network.ruvo.enable"); }),
              "[get_token_value:1313] get user json={\"network\":{}} key=network.ruvo.enable\n");
}

TEST_F(GetTokenValueTest, TellsAKeyWholeThoughItsSectionIsCut) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { (void)get_token_value(repeated(600, 'x')); }),
              "[get_token_value:1313] get user json={\"" + repeated(127, 'x') +
                  "\":{}} key=" + repeated(600, 'x') + "\n");
}

TEST_F(GetTokenValueTest, TellsAnEmptyKey) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { (void)get_token_value(""); }),
              "[get_token_value:1313] get user json={\"\":{}} key=\n");
}

TEST_F(GetTokenValueTest, IsSilentOtherwise) {
    EXPECT_EQ(test::output_of([] { (void)get_token_value("network.ruvo.enable"); }), "");
}

// No store answers in this program unless a test puts one there.
TEST_F(GetTokenValueTest, IsEmptyWithoutAStore) {
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "");
    EXPECT_EQ(get_token_value(""), "");
}

}  // namespace
}  // namespace ruvo
