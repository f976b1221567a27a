#include "ruvoctl/nearest_word.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

TEST(NearestWord, IsTheCandidateWithTheFewestChanges) {
    const std::vector<std::string> verbs{"check", "plan", "encode", "decode", "help"};
    struct Case {
        const char* word;
        const char* expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"chek", "check", "a letter is missing"},
        {"chekc", "check", "two letters have changed places"},
        {"plann", "plan", "a letter too many"},
        {"PLAN", "plan", "letters of either case are alike"},
        {"decose", "decode", "another letter"},
        {"status", "", "nothing like it"},
        {"", "", "no word is near to nothing"},
    };
    for (const Case& c : kCases) EXPECT_EQ(nearest_word(c.word, verbs), c.expected) << c.why;
}

TEST(NearestWord, IsTheFirstOfSeveral) {
    EXPECT_EQ(nearest_word("IP", std::vector<std::string>{"IPa", "IPb"}), "IPa");
}

TEST(NearestWord, IsNothingWithoutCandidates) {
    EXPECT_EQ(nearest_word("check", std::vector<std::string>{}), "");
}

}  // namespace
}  // namespace ruvo::ctl
