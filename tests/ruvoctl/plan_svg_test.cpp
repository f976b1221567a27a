#include "ruvoctl/plan/plan_svg.h"

#include "ruvoctl/plan/plan_event.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo::ctl {
namespace {

std::string svg_of(const std::string& settings) {
    return plan_svg(plan_all(read_source(settings), World{}));
}

std::size_t count(const std::string& text, const std::string& piece) {
    std::size_t found = 0;
    for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
        ++found;
    }
    return found;
}

TEST(PlanSvg, DrawsAWindowAndATail) {
    const std::string svg = svg_of(
        "ECount=2\nEProtocol0=TCP\nEIP0=10.1.2.3\nEPort0=80\nEDelay0=150\n"
        "EProtocol1=UDP\nEIP1=10.1.2.4\nEPort1=81\nEDelay1=0\n");
    EXPECT_TRUE(svg.starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"960\"")) << svg;
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    // The axis ends at 2500 ms: 628 pixels behind 300.
    EXPECT_EQ(count(svg,
                    "<rect class=\"tcp\" x=\"337.7\" y=\"50.0\" width=\"87.9\" height=\"12\">"
                    "<title>150 to 500 ms</title></rect>\n"
                    "<rect class=\"tail\" x=\"425.6\" y=\"50.0\" width=\"502.4\" height=\"12\">"),
              1U)
        << svg;
    EXPECT_EQ(count(svg,
                    "<rect class=\"udp\" x=\"337.7\" y=\"72.0\" width=\"87.9\" height=\"12\">"
                    "<title>150.1 to 500.1 ms</title></rect>\n"),
              1U)
        << svg;
    EXPECT_EQ(count(svg, ">2.5 s</text>"), 1U);
    EXPECT_EQ(count(svg, ">0  TCP 10.1.2.3:80</text>"), 1U);
}

TEST(PlanSvg, NamesWhatIsNotSent) {
    const std::string svg = svg_of("ECount=1\nEProtocol0=udp\nFCount=1\nFDelay=60\n");
    EXPECT_EQ(count(svg, "× lost: the protocol &quot;udp&quot; holds neither UDP nor TCP"), 1U);
    EXPECT_EQ(count(svg, "class=\"lost\" x=\"24.0\" y=\"152.0\">not run: an event that waits"), 1U)
        << svg;
}

TEST(PlanSvg, AnEventThatIsRefusedIsNotPaintedAsLost) {
    World world;
    world.switch_position = SwitchPosition::kOffWhenTriggered;
    const std::string svg = plan_svg(plan_all(read_source("ECount=1\n"), world));
    EXPECT_EQ(
        count(svg, "class=\"skipped\" x=\"24.0\" y=\"62.0\">not run: events are switched off"), 1U)
        << svg;
}

TEST(PlanSvg, ATailSaysWhatTakesSoLong) {
    const std::string svg = svg_of(
        "ECount=3\nEProtocol0=TCP\nEIP0=10.1.2.3\nEPort0=80\n"
        "EProtocol1=UDPStatus\nEIP1=10.1.2.3\nEPort1=80\n"
        "EProtocol2=TCPStatus\nEIP2=10.1.2.3\nEPort2=80\n");
    EXPECT_EQ(count(svg, "<title>may leave up to 2 s later: it connects first</title>"), 1U) << svg;
    EXPECT_EQ(count(svg, "<title>may leave up to 6 s later: the report is fetched first</title>"),
              1U);
    EXPECT_EQ(count(svg, "<title>may leave up to 8 s later: the report is fetched first</title>"),
              1U);
}

TEST(PlanSvg, AnAxisOfDaysHasPlainNumbers) {
    const std::string svg =
        svg_of("ECount=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=80\nEDelay0=2000000000\n");
    EXPECT_EQ(count(svg, ">2000000 s</text>"), 1U) << svg;
    EXPECT_EQ(count(svg, "e+0"), 0U);
}

TEST(PlanSvg, TellsOfAVoidFile) {
    EXPECT_EQ(count(svg_of("ECount=1\nEIP&=1\n"), "Line 2: &quot;&amp;&quot; behind EIP"), 1U);
}

TEST(PlanSvg, EscapesWhatComesFromTheFile) {
    const std::string svg = svg_of(
        "<b a=\"&\x1B\">Count=1\n<b>&\"\x1B'\xFFXMLfield=\n"
        "<b>&\"\x1B'\xFF\xEF\xBF\xBF"
        "Count=1\n");
    EXPECT_EQ(count(svg, "<b"), 0U) << svg;
    EXPECT_EQ(count(svg, "&lt;b&gt;&amp;&quot;\\x1B'\\xFF"), 1U) << svg;
    EXPECT_EQ(count(svg, "\xEF\xBF\xBF"), 0U) << "no character of XML";
}

}  // namespace
}  // namespace ruvo::ctl
