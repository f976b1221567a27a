// The rendering of the device's values. This program has a library of its own in the
// device's place.

#include "platform/token_text.h"

#include "platform/json_token.h"
#include "platform/user_config.h"
#include "tests/support/process_state.h"
#include "tests/support/stand_in_library.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using Calls = std::vector<std::string>;

class TokenTextTest : public testing::Test {
  protected:
    std::string text() {
        const std::string result = token_text("{\"net\":{}}", "net.a");
        EXPECT_EQ(library_.references, 0);
        return result;
    }

    std::string text_of_boolean(std::optional<int> value) {
        library_.type = kJsonTokenBoolean;
        library_.boolean = value;
        return text();
    }

    std::string text_of_double(double value) {
        library_.type = kJsonTokenDouble;
        library_.real = value;
        return text();
    }

    std::string text_of_integer(std::optional<int> value) {
        library_.type = kJsonTokenInteger;
        library_.integer = value;
        return text();
    }

    std::string text_of_string(const std::string& value) {
        library_.type = kJsonTokenString;
        library_.text = value;
        return text();
    }

    test::StandInLibrary library_;

  private:
    test::FreshProcessState process_state_;
};

TEST_F(TokenTextTest, ABooleanIsANumber) {
    EXPECT_EQ(text_of_boolean(1), "1");
    EXPECT_EQ(text_of_boolean(0), "0");
    EXPECT_EQ(text_of_boolean(7), "7");
    EXPECT_EQ(text_of_boolean({}), "-1");
}

TEST_F(TokenTextTest, AnIntegerIsDecimal) {
    EXPECT_EQ(text_of_integer(42), "42");
    EXPECT_EQ(text_of_integer(-7), "-7");
    EXPECT_EQ(text_of_integer(0), "0");
    EXPECT_EQ(text_of_integer(std::numeric_limits<int>::max()), "2147483647");
    EXPECT_EQ(text_of_integer(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(text_of_integer({}), "0");
}

TEST_F(TokenTextTest, ADoubleHasSixDecimals) {
    EXPECT_EQ(text_of_double(2.5), "2.500000");
    EXPECT_EQ(text_of_double(0), "0.000000");
    EXPECT_EQ(text_of_double(-0.0), "-0.000000");
    EXPECT_EQ(text_of_double(-1234567.25), "-1234567.250000");
    EXPECT_EQ(text_of_double(0.0000004), "0.000000");
    EXPECT_EQ(text_of_double(0.0000006), "0.000001");
    EXPECT_EQ(text_of_double(1e15), "1000000000000000.000000");
    EXPECT_EQ(text_of_double(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(text_of_double(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(text_of_double(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST_F(TokenTextTest, ALargeDoubleIsWhole) {
    const std::string text = text_of_double(1e308);
    EXPECT_EQ(text.size(), 309U + 7U);
    EXPECT_TRUE(text.starts_with("100000000000000001097906362944045541740492309677311")) << text;
    EXPECT_TRUE(text.ends_with("336.000000")) << text;
    EXPECT_EQ(text_of_double(-1e308), "-" + text);
}

TEST_F(TokenTextTest, AStringIsAsItIs) {
    EXPECT_EQ(text_of_string("on"), "on");
    EXPECT_EQ(text_of_string(""), "");
    EXPECT_EQ(text_of_string(" a=\"b\"\n%s "), " a=\"b\"\n%s ");
    EXPECT_EQ(text_of_string("\xC3\xA4"), "\xC3\xA4");
    EXPECT_EQ(text_of_string(test::repeated(10000, 'x')), test::repeated(10000, 'x'));
}

TEST_F(TokenTextTest, AStringThatIsNotThereIsEmpty) {
    library_.type = kJsonTokenString;
    library_.text_is_null = true;
    EXPECT_EQ(text(), "");
}

TEST_F(TokenTextTest, AnyOtherTypeIsEmpty) {
    library_.boolean = 1;
    library_.real = 2.5;
    library_.integer = 3;
    library_.text = "four";
    for (const int type : {-1, 0, 4, 5, 7, 8, 100, std::numeric_limits<int>::max()}) {
        library_.type = type;
        EXPECT_EQ(text(), "") << type;
    }
}

TEST_F(TokenTextTest, ReadsTheValueAgainFromTheTreeAndReleasesTokenAndTree) {
    struct Case {
        int type;
        const char* getter;
    };
    constexpr Case kCases[] = {
        {kJsonTokenBoolean, "boolean net.a -1"},
        {kJsonTokenDouble, "double net.a"},
        {kJsonTokenInteger, "int net.a 0"},
        {kJsonTokenString, "string net.a"},
    };
    for (const Case& c : kCases) {
        library_.calls.clear();
        library_.type = c.type;
        (void)text();
        EXPECT_EQ(library_.calls, (Calls{"query {\"net\":{}}", "walk net.a", "type", c.getter,
                                         "put token", "put tree"}));
    }
}

TEST_F(TokenTextTest, ReleasesAValueOfAnotherTypeToo) {
    library_.type = 4;
    (void)text();
    EXPECT_EQ(library_.calls,
              (Calls{"query {\"net\":{}}", "walk net.a", "type", "put token", "put tree"}));
}

TEST_F(TokenTextTest, ReleasesTheTreeWhenNothingIsThere) {
    library_.has_token = false;
    EXPECT_EQ(text(), "");
    EXPECT_EQ(library_.calls, (Calls{"query {\"net\":{}}", "walk net.a", "put tree"}));
}

TEST_F(TokenTextTest, WalksNoTreeThatIsNotThere) {
    library_.has_tree = false;
    EXPECT_EQ(text(), "");
    EXPECT_EQ(library_.calls, (Calls{"query {\"net\":{}}"}));
}

TEST_F(TokenTextTest, AValueIsAskedForByItsSectionAndItsWholeKey) {
    library_.type = kJsonTokenBoolean;
    library_.boolean = 1;
    EXPECT_EQ(get_token_value("network.ruvo.enable"), "1");
    EXPECT_EQ(library_.calls, (Calls{"query {\"network\":{}}", "walk network.ruvo.enable", "type",
                                     "boolean network.ruvo.enable -1", "put token", "put tree"}));
}

TEST_F(TokenTextTest, AKeyWithoutADotIsSectionAndPathAtOnce) {
    library_.has_token = false;
    EXPECT_EQ(get_token_value("network"), "");
    EXPECT_EQ(library_.calls, (Calls{"query {\"network\":{}}", "walk network", "put tree"}));
}

TEST_F(TokenTextTest, AKeyIsWalkedWholeThoughItsSectionIsCut) {
    library_.has_token = false;
    const std::string key = test::repeated(600, 'x');
    EXPECT_EQ(get_token_value(key), "");
    EXPECT_EQ(library_.calls,
              (Calls{"query {\"" + key.substr(0, 127) + "\":{}}", "walk " + key, "put tree"}));
}

}  // namespace
}  // namespace ruvo
