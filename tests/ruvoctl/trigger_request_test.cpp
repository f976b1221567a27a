#include "ruvoctl/plan/plan_event.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

constexpr char kSettings[] =
    "PowerOnCount=1\nPowerOnProtocol0=UDP\nEmptyCount=1\nEmptyXMLfield=\n"
    "__TEST__:XCount=1\nLongCount=1\nLongXMLfield=";

struct Case {
    std::string bytes;
    std::string request;
    std::optional<std::string> text;
    std::optional<std::string> reply;
    std::ptrdiff_t lookups;
    bool command;
    std::vector<std::string> events;
    const char* why;
};

TEST(PlanRequest, SaysWhatAClientsBytesCause) {
    const std::string longest(1023, 'x');
    const auto none = std::nullopt;
    const Case cases[] = {
        {"PowerOn", "PowerOn", "PowerOn\n", "PowerOn\n", 1, false, {"PowerOn"}, "a name"},
        {"PowerOn\n", "PowerOn\n", "PowerOn\n", "PowerOn\n", 1, false, {"PowerOn"}, "with its end"},
        {"PowerOn\n\n",
         "PowerOn\n\n",
         "PowerOn\n\n",
         "PowerOn\n\n",
         2,
         false,
         {},
         "two lines find nothing, twice"},
        {"PowerOn\nPowerOn",
         "PowerOn\nPowerOn",
         "PowerOn\nPowerOn\n",
         "PowerOn\nPowerOn\n",
         2,
         false,
         {},
         "two names find nothing"},
        {"PowerOn\r\n",
         "PowerOn\r\n",
         "PowerOn\r\n",
         "PowerOn\r\n",
         1,
         false,
         {},
         "the carriage return belongs to the name"},
        {"poweron", "poweron", "poweron\n", "poweron\n", 1, false, {}, "case counts"},
        {"PowerOn=b",
         "PowerOn=b",
         "PowerOn\n",
         "PowerOn\n",
         1,
         false,
         {"PowerOn"},
         "what follows an equals sign is dropped"},
        {"a=b", "a=b", "a\n", "a\n", 1, false, {}, "and so no name holds one"},
        {"PowerOn\0\n"s,
         "PowerOn",
         "PowerOn\n",
         "PowerOn\n",
         1,
         false,
         {"PowerOn"},
         "a zero byte ends the text"},
        {"\n", "\n", "\n", "\n", 1, false, {"Empty"}, "an empty name"},
        {"\0"s, "", "\n", "\n", 1, false, {"Empty"}, "a zero byte alone is an empty name"},
        {"", "", none, none, 0, false, {}, "no bytes are no request"},
        {"__TEST__:X", "__TEST__:X", none, none, 0, true, {}, "a command"},
        {"__", "__", none, none, 0, true, {}, "an unknown command"},
        {longest, longest, longest + "\n", longest + "\n", 1, false, {"Long"}, "1023 bytes"},
        {longest + "yz",
         longest,
         longest + "\n",
         longest + "\n",
         1,
         false,
         {"Long"},
         "more than 1023 bytes are cut"},
    };
    const SettingsSource source = read_source(kSettings + longest + "\n");
    for (const Case& c : cases) {
        const Plan plan = plan_request(source, World{}, c.bytes);
        ASSERT_TRUE(plan.trigger.has_value()) << c.why;
        EXPECT_EQ(plan.trigger->request, c.request) << c.why;
        EXPECT_EQ(plan.trigger->text, c.text) << c.why;
        EXPECT_EQ(plan.trigger->reply, c.reply) << c.why;
        EXPECT_EQ(plan.trigger->lookups, c.lookups) << c.why;
        EXPECT_EQ(plan.trigger->command, c.command) << c.why;
        std::vector<std::string> names;
        for (const PlannedEvent& event : plan.events) {
            names.push_back(event.name);
            EXPECT_EQ(event.outcome, EventOutcome::kRuns) << c.why;
        }
        EXPECT_EQ(names, c.events) << c.why;
    }
}

TEST(PlanRequest, ATriggerIsRefusedWhileTheSwitchIsOff) {
    World world;
    world.switch_position = SwitchPosition::kOffWhenTriggered;
    const Plan plan = plan_request(read_source("PowerOnCount=1\n"), world, "PowerOn=1");
    EXPECT_EQ(plan.trigger->text, "PowerOn\n");
    EXPECT_EQ(plan.trigger->reply, "Event Disabled, skip PowerOn");
    EXPECT_EQ(plan.trigger->lookups, 0);
    ASSERT_EQ(plan.events.size(), 1U);
    EXPECT_EQ(plan.events[0].outcome, EventOutcome::kRefused);
}

TEST(PlanRequest, AVoidFileStillAnswers) {
    const Plan plan = plan_request(read_source("ECount=1\nEIPx=1\n"), World{}, "E");
    EXPECT_TRUE(plan.voided.has_value());
    EXPECT_EQ(plan.trigger->reply, "E\n");
    EXPECT_TRUE(plan.events.empty());
}

}  // namespace
}  // namespace ruvo::ctl
