#include "events/event_list_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

SubCommand step(const char* data, std::int64_t delay_ns) {
    return {"1.2.3.4", "9", "UDP", data, delay_ns, 0};
}

TEST(EventListLine, ShowsNamesStepsAndDelay) {
    EventEntry entry{"PowerOn", "PowerOn", 0, 0, {step("AB", 0), step("CD", 500'000'000)}, 0, 1, 0};
    EXPECT_EQ(event_list_line(entry), "PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n");
}

TEST(EventListLine, ShowsTheXmlFieldBehindTheName) {
    EXPECT_EQ(event_list_line({"Generic1", "Lamp", 0, 0, {SubCommand{}}, 0, 0, 0}),
              "Generic1;Lamp;0::0;Delay=0;\n");
}

TEST(EventListLine, ShowsAnEventWithoutSteps) {
    EXPECT_EQ(event_list_line({"E", "E", 0, 0, {}, 0, 2, 0}), "E;E;Delay=2;\n");
}

TEST(EventListLine, ShowsANegativeDelayOfTheEvent) {
    EXPECT_EQ(event_list_line({"E", "E", 0, 0, {}, 0, -3, 0}), "E;E;Delay=-3;\n");
}

TEST(EventListLine, ShowsTheLimitsOfTheEventsDelay) {
    EXPECT_EQ(event_list_line({"E", "E", 0, 0, {}, 0, INT32_MAX, 0}), "E;E;Delay=2147483647;\n");
    EXPECT_EQ(event_list_line({"E", "E", 0, 0, {}, 0, INT32_MIN, 0}), "E;E;Delay=-2147483648;\n");
}

TEST(EventListLine, ShowsNamesAsTheyAre) {
    EXPECT_EQ(event_list_line({"A;B", "", 0, 0, {}, 0, 0, 0}), "A;B;;Delay=0;\n");
    EXPECT_EQ(event_list_line({" A ", "x\r", 0, 0, {}, 0, 0, 0}), " A ;x\r;Delay=0;\n");
}

TEST(EventListLine, ShowsDataAsItIs) {
    EventEntry entry{"E", "E", 0, 0, {step("", 0)}, 0, 0, 0};
    entry.subCommands[0].data = "a;b:c\n\0\xFF{{time}}"s;
    EXPECT_EQ(event_list_line(entry), "E;E;0:a;b:c\n\0\xFF{{time}}:0;Delay=0;\n"s);
}

TEST(EventListLine, ShowsAStepsOwnDelayInWholeMilliseconds) {
    struct Case {
        std::int64_t ns;
        const char* line;
        const char* why;
    };
    constexpr Case kCases[] = {
        {0, "E;E;0::0;Delay=0;\n", "none"},
        {1'000'000, "E;E;0::1;Delay=0;\n", "one"},
        {1'999'999, "E;E;0::1;Delay=0;\n", "cut toward zero"},
        {-250'000'000, "E;E;0::-250;Delay=0;\n", "negative"},
        {-1'999'999, "E;E;0::-1;Delay=0;\n", "negative, cut toward zero"},
        {-999'999, "E;E;0::0;Delay=0;\n", "negative, nothing left"},
        {2'147'483'647'000'000, "E;E;0::2147483647;Delay=0;\n", "the largest"},
        {-2'147'483'648'000'000, "E;E;0::-2147483648;Delay=0;\n", "the smallest"},
    };
    for (const Case& c : kCases) {
        EventEntry entry{"E", "E", 0, 0, {step("", c.ns)}, 0, 0, 0};
        entry.subCommands[0].delayFromExecNs = 77'000'000;  // not what the line shows
        EXPECT_EQ(event_list_line(entry), c.line) << c.why;
    }
}

TEST(EventListLine, NumbersEveryStep) {
    EventEntry entry{"E", "E", 0, 0, {}, 0, 0, 0};
    for (int i = 0; i < 12; ++i) entry.subCommands.push_back(step("", 0));
    EXPECT_EQ(event_list_line(entry),
              "E;E;0::0;1::0;2::0;3::0;4::0;5::0;6::0;7::0;8::0;9::0;10::0;11::0;Delay=0;\n");
}

}  // namespace
}  // namespace ruvo
