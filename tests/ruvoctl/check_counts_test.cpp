// Counts, and how many steps they make.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

TEST(CheckCounts, StepsWithoutACount) {
    expect_cases({
        {"no Count",
         "BeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDP\nBeamerData0=41\n",
         "1:1 error count-missing Beamer",
         {"does not exist"}},
        {"a Count in another case", "beamerCount=1\n" + std::string(OneStep{}).substr(14),
         "1:13 warning count-larger beamer; 2:1 error count-missing Beamer"},
        {"a Count at the end", std::string(OneStep{}).substr(14) + "BeamerCount=1\n"},
        {"an event's delay is no step", good_and("PowerOnDelay=1\n")},
    });
}

TEST(CheckCounts, ACountThatIsNotPositive) {
    expect_cases({
        {"0", OneStep{.count = "0"}, "1:13 error count-not-positive Beamer", {"does not exist"}},
        {"negative", OneStep{.count = "-3"}, "1:13 error count-not-positive Beamer"},
        {"zeros", OneStep{.count = "000"}, "1:13 error count-not-positive Beamer"},
        {"0 without steps", "PowerOnCount=0\nPowerOnDelay=1\n"},
        {"a number behind blanks", OneStep{.count = " 1"}},
        {"leading zeros", OneStep{.count = "001"}},
        {"a plus", OneStep{.count = "+1"}},
    });
}

TEST(CheckCounts, ACountThatIsNoNumber) {
    expect_cases({
        {"a word", OneStep{.count = "one"}, "1:13 error count-garbage Beamer", {"does not exist"}},
        {"nothing", OneStep{.count = ""}, "1:13 error count-garbage Beamer"},
        {"quotes", OneStep{.count = "\"1\""}, "1:13 error count-garbage Beamer"},
        {"a second equals sign", OneStep{.count = "=1"}, "1:13 error count-garbage Beamer"},
        {"text behind the number", OneStep{.count = "1 step"}},
        {"two equals signs", OneStep{.count = "1=4"}},
        {"a carriage return", OneStep{.count = "1\r"}},
    });
}

TEST(CheckCounts, ABlankBehindCount) {
    expect_cases({
        {"blank",
         "BeamerCount =1\n" + std::string(OneStep{}).substr(14),
         "1:12 error count-blank Beamer",
         {"does not exist"}},
        {"tab", "BeamerCount\t=1\n" + std::string(OneStep{}).substr(14),
         "1:12 error count-blank Beamer"},
        {"behind the equals sign", OneStep{.count = " 1"}},
    });
}

TEST(CheckCounts, ACountAbove128) {
    expect_cases({
        {"129", OneStep{.count = "129"}, "1:13 error count-above-128 Beamer", {"128"}},
        {"300", OneStep{.count = "300"}, "1:13 error count-above-128 Beamer", {"128"}},
        {"128", OneStep{.count = "128"}, "1:13 warning count-larger Beamer"},
    });
}

TEST(CheckCounts, ACountLargerThanTheSteps) {
    expect_cases({
        {"one too many", OneStep{.count = "2"}, "1:13 warning count-larger Beamer", {"step 1"}},
        {"no step at all", good_and("LampCount=1\n"), "6:11 warning count-larger Lamp"},
        {"as many", OneStep{.count = "2", .more = step_lines(1)}},
    });
}

TEST(CheckCounts, TwoCountsOfOneName) {
    expect_cases({
        {"two events",
         good_and("BeamerCount=1\n"),
         "6:1 warning duplicate-count Beamer",
         {"only the first"}},
        {"of two names", std::string(OneStep{}) + std::string(OneStep{.name = "Lamp"})},
    });
    const std::string third = problems(good_and("BeamerCount=1\nBeamerCount=1\n"));
    EXPECT_EQ(third, "6:1 warning duplicate-count Beamer; 7:1 warning duplicate-count Beamer");
}

TEST(CheckCounts, IndicesThatBeginAt1) {
    const std::string from_1 = "BeamerCount=2\n" + step_lines(1) + step_lines(2);
    EXPECT_NE(problems(from_1).find("warning indices-from-1 Beamer"), std::string::npos)
        << problems(from_1);
    EXPECT_NE(problems(from_1).find("6:1 error index-beyond-count Beamer.2"), std::string::npos)
        << problems(from_1);
    EXPECT_NE(problems("BeamerCount=1\n" + step_lines(1)).find("indices-from-1"),
              std::string::npos);
    EXPECT_EQ(problems(OneStep{.count = "2", .more = step_lines(1)}), "");
    EXPECT_EQ(problems("BeamerCount=3\n" + step_lines(2)), "1:13 warning count-larger Beamer")
        << "from 2 is not from 1";
}

}  // namespace
}  // namespace ruvo::ctl
