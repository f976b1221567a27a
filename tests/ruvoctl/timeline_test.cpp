#include "ruvoctl/plan/timeline.h"

#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/plan/time_axis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

constexpr char kSettings[] =
    "ECount=4\nEDelay=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=9\nEDelay0=500\n"
    "EProtocol1=TCP\nEIP1=10.1.2.3\nEPort1=80\n"
    "EProtocol2=UDPStatus\nEIP2=10.1.2.3\nEPort2=80\nEDelay2=1000\n";

std::string drawn(const std::string& settings, std::size_t width,
                  SwitchPosition position = SwitchPosition::kOn) {
    World world;
    world.switch_position = position;
    return timeline(plan_all(read_source(settings), world), width,
                    Style(ColorChoice::kNever, stdout));
}

TEST(Timeline, DrawsWindowsTailsAndWhatIsNotSent) {
    EXPECT_EQ(drawn(kSettings, 80), R"(E
  0 udp 10.1.2.3:9         |       ##
  1 tcp 10.1.2.3:80        |     ##----------
  2 udp-status 10.1.2.3:80 |          ##-------------------------------
  3 - 0.0.0.0:0            |     x no-protocol
                           |+---------+---------+---------+---------+----------
                            0         2 s       4 s       6 s       8 s

####  begins in this time   x  not sent
----  may leave so late: TCP connects (2 s), a report is fetched (6 s at most)
)");
}

TEST(Timeline, NeverExceedsItsWidth) {
    for (std::size_t width = 0; width < 130; ++width) {
        const std::string text = drawn(kSettings, width);
        std::size_t longest = 0;
        std::size_t begin = 0;
        // The legend is as long as it is.
        const std::string drawing = text.substr(0, text.find("####  "));
        for (auto end = drawing.find('\n'); end != std::string::npos;
             end = drawing.find('\n', begin)) {
            longest = std::max(longest, end - begin);
            begin = end + 1;
        }
        EXPECT_LE(longest, std::max(width, kNarrowestTimeline)) << text;
    }
}

TEST(Timeline, SaysWhyAnEventDoesNotRun) {
    EXPECT_EQ(drawn("ECount=1\nEDelay=60\n", 80),
              "E\n"
              "  not run: an event that waits 60 s or more is dropped as too old\n"
              "\n"
              "####  begins in this time   x  not sent\n"
              "----  may leave so late: TCP connects (2 s), a report is fetched (6 s at most)\n");
}

TEST(Timeline, OfNoEventIsEmpty) { EXPECT_EQ(drawn("", 80), ""); }

TEST(TimeAxis, HasRoundTicks) {
    struct Case {
        double end_ms;
        std::size_t most;
        double tick_ms;
        std::size_t ticks;
    };
    constexpr Case kCases[] = {
        {350, 7, 50, 7},  {350, 6, 100, 4},     {351, 7, 100, 4}, {3600, 10, 500, 8},
        {0.5, 10, 1, 1},  {10, 10, 1, 10},      {11, 10, 2, 6},   {59250, 6, 10000, 6},
        {250, 2, 200, 2}, {1e12, 10, 1e11, 10},
    };
    for (const Case& c : kCases) {
        const TimeAxis axis = time_axis(c.end_ms, c.most);
        EXPECT_EQ(axis.tick_ms, c.tick_ms) << c.end_ms;
        EXPECT_EQ(axis.ticks, c.ticks) << c.end_ms;
    }
}

TEST(TickText, SaysItsUnit) {
    EXPECT_EQ(tick_text(0), "0");
    EXPECT_EQ(tick_text(50), "50 ms");
    EXPECT_EQ(tick_text(1000), "1 s");
    EXPECT_EQ(tick_text(1500), "1.5 s");
    EXPECT_EQ(tick_text(1e9), "1000000 s");
    EXPECT_EQ(tick_text(1.2345678e9), "1234567.8 s");
}

TEST(DrawingEnd, IsThatOfTheLastWindowOrTail) {
    World world;
    const auto end_of = [&](const std::string& settings) {
        return drawing_end_ms(plan_all(read_source(settings), world).events.at(0));
    };
    const std::string step = "ECount=1\nEIP0=10.1.2.3\nEPort0=9\nEDelay0=100\n";
    EXPECT_EQ(end_of("ECount=1\n"), 350);
    EXPECT_EQ(end_of(step + "EProtocol0=UDP\n"), 450);
    EXPECT_EQ(end_of(step + "EProtocol0=TCP\n"), 2450);
    EXPECT_EQ(end_of(step + "EProtocol0=UDPStatus\n"), 6450);
    EXPECT_EQ(end_of(step + "EProtocol0=TCPStatus\n"), 8450);
    EXPECT_EQ(end_of(step + "EProtocol0=tcp\n"), 450);
}

}  // namespace
}  // namespace ruvo::ctl
