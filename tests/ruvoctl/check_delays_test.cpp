// Delays of events, in seconds, and of steps, in milliseconds.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

std::string two_steps(const std::string& delays) {
    return OneStep{.count = "2", .more = step_lines(1) + delays};
}

std::string three_steps(const std::string& delays) {
    return OneStep{.count = "3", .more = step_lines(1) + step_lines(2) + delays};
}

TEST(CheckDelays, AMinuteOrLonger) {
    expect_cases({
        {"60", good_and("BeamerDelay=60\n"), "6:13 error delay-stale Beamer", {"never run"}},
        {"3600", good_and("BeamerDelay=3600\n"), "6:13 error delay-stale Beamer", {"never run"}},
        {"of a step", good_and("BeamerDelay0=60000\n")},
        {"of an event that does not exist", good_and("PowerOnDelay=60\n")},
    });
    EXPECT_EQ(problems(good_and("BeamerDelay=59\n")).find("error"), std::string::npos);
    CheckOptions test;
    test.test = true;
    EXPECT_EQ(problems(good_and("BeamerDelay=60\n"), test), "") << "a test run has no event delay";
}

TEST(CheckDelays, SecondsThatLookLikeMilliseconds) {
    expect_cases({
        {"50", good_and("BeamerDelay=50\n"), "6:13 warning delay-milliseconds Beamer", {"second"}},
        {"5", good_and("BeamerDelay=5\n")},
        {"1", good_and("BeamerDelay=1\n")},
        {"0", good_and("BeamerDelay=0\n")},
    });
}

TEST(CheckDelays, StepsNotInRisingOrder) {
    expect_cases({
        {"falling", two_steps("BeamerDelay1=200\nBeamerDelay0=100\n"),
         "10:1 error delay-order Beamer.1"},
        {"rising", two_steps("BeamerDelay0=100\nBeamerDelay1=200\n")},
        {"rising with other lines between",
         OneStep{.count = "2",
                 .more = "BeamerDelay0=100\n" + step_lines(1) + "BeamerDelay1=200\n"}},
        {"delays of 0 add nothing", two_steps("BeamerDelay1=200\nBeamerDelay0=0\n")},
    });
}

TEST(CheckDelays, AStepWithoutADelayAmongDelayedOnes) {
    EXPECT_NE(problems(three_steps("BeamerDelay0=100\nBeamerDelay2=100\n"))
                  .find("warning delay-gap Beamer.1"),
              std::string::npos)
        << problems(three_steps("BeamerDelay0=100\nBeamerDelay2=100\n"));
    expect_cases({
        {"the first needs none", three_steps("BeamerDelay1=100\nBeamerDelay2=100\n")},
        {"all have one", three_steps("BeamerDelay0=100\nBeamerDelay1=0\nBeamerDelay2=100\n")},
        {"none has one", three_steps("")},
    });
}

TEST(CheckDelays, NegativeOnes) {
    expect_cases({
        {"a step's", good_and("BeamerDelay0=-5\n"), "6:14 warning delay-negative Beamer.0"},
        {"an event's", good_and("BeamerDelay=-5\n"), "6:13 warning delay-negative Beamer"},
        {"minus 0", good_and("BeamerDelay0=-0\n")},
    });
}

TEST(CheckDelays, UnitsAndFractions) {
    expect_cases({
        {"a unit", good_and("BeamerDelay=1s\n"), "6:13 warning delay-unit Beamer"},
        {"a fraction", good_and("BeamerDelay=0.5\n"), "6:13 warning delay-unit Beamer"},
        {"of a step", good_and("BeamerDelay0=1s\n"), "6:14 warning delay-unit Beamer.0"},
        {"milliseconds", good_and("BeamerDelay0=500ms\n"), "6:14 warning delay-unit Beamer.0"},
        {"no number", good_and("BeamerDelay0=soon\n"), "6:14 warning delay-unit Beamer.0"},
        {"a carriage return", good_and("BeamerDelay=1\r\n")},
        {"blanks", good_and("BeamerDelay0= 1000 \n")},
    });
}

}  // namespace
}  // namespace ruvo::ctl
