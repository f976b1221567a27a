#include "ruvoctl/plan/plan_status.h"

#include "ruvoctl/plan/plan_event.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo::ctl {
namespace {

constexpr char kSends[] = "ACount=1\nAProtocol0=UDP\nAIP0=10.1.2.3\nAPort0=9\n";

TEST(PlanStatus, IsThreeForAFaultAndFourForNothingOnPurpose) {
    struct Case {
        std::string settings;
        SwitchPosition position;
        int expected;
        const char* why;
    };
    const Case cases[] = {
        {kSends, SwitchPosition::kOn, 0, "something is sent"},
        {kSends, SwitchPosition::kOffWhenTriggered, 4, "off when it is triggered"},
        {kSends, SwitchPosition::kOffBeforeRun, 4, "off when it runs"},
        {"", SwitchPosition::kOn, 4, "no event at all"},
        {"ACount=0\n", SwitchPosition::kOn, 4, "none that is switched on"},
        {"ACount=1\n", SwitchPosition::kOn, 3, "a step without a protocol"},
        {kSends + std::string("ACount=1\n"), SwitchPosition::kOn, 3, "an event behind another"},
        {kSends + std::string("ADelay=60\n"), SwitchPosition::kOn, 3, "a stale event"},
        {kSends + std::string("AIPx=1\n"), SwitchPosition::kOn, 3, "a void file"},
        {"ACount=1\nAProtocol0=UDP\n", SwitchPosition::kOn, 3, "a refused destination"},
        {kSends + std::string("BCount=1\n"), SwitchPosition::kOn, 3, "one of two is lost"},
    };
    for (const Case& c : cases) {
        World world;
        world.switch_position = c.position;
        EXPECT_EQ(plan_status(plan_all(read_source(c.settings), world)), c.expected) << c.why;
    }
}

TEST(PlanStatus, APowerOnWindowIsDeliberate) {
    World world;
    world.uptime_s = 120;
    const SettingsSource source = read_source("DVIDisconnectedCount=1\n");
    EXPECT_EQ(plan_status(plan_all(source, world)), 4);
}

}  // namespace
}  // namespace ruvo::ctl
