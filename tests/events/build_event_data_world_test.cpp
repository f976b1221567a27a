#include "events/build_event_data.h"

#include "core/daemon_context.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/status_service.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <future>

namespace ruvo {
namespace {

class BuildEventDataTest : public test::DaemonTest {
  protected:
    BuildEventDataTest() {
        context_.eventList.set(
            {{"PowerOn", "PowerOn", 0, 0, {{"", "", "", "{{v}}", 0, 0}}, 0, 2, 0},
             {"Generic1", "Lamp", 0, 0, {}, 0, 4, 0}});
        context_.testEventList.set({{"PowerOn", "Knob", 0, 0, {}, 0, 6, 0}});
        context_.statusVariables.set({{"v", "old"}});
    }
};

TEST_F(BuildEventDataTest, DropsOneLineFeedBehindTheName) {
    EXPECT_EQ(build_event_data(context_, "PowerOn", 0).name, "PowerOn");
    EXPECT_EQ(build_event_data(context_, "PowerOn\n", 0).name, "PowerOn");
    EXPECT_EQ(build_event_data(context_, "PowerOn\n\n", 0).name, "");
    EXPECT_EQ(build_event_data(context_, "PowerOn\r\n", 0).name, "");
}

TEST_F(BuildEventDataTest, FindsNormalEventsByXmlFieldAndTestEventsByName) {
    EXPECT_EQ(build_event_data(context_, "Lamp", 0).name, "Generic1");
    EXPECT_EQ(build_event_data(context_, "Generic1", 0).name, "");
    EXPECT_EQ(build_event_data(context_, "PowerOn", 1).xmlField, "Knob");
    EXPECT_EQ(build_event_data(context_, "Knob", 1).name, "");
    EXPECT_EQ(build_event_data(context_, "Lamp", 1).name, "");
}

TEST_F(BuildEventDataTest, TakesEveryFlagButZeroForATest) {
    EXPECT_EQ(build_event_data(context_, "PowerOn", -1).xmlField, "Knob");
    EXPECT_EQ(build_event_data(context_, "PowerOn", 2).delay, 0);
}

TEST_F(BuildEventDataTest, GivesAnEmptyEntryForAnUnknownName) {
    EXPECT_EQ(build_event_data(context_, "Nobody", 0), EventEntry{});
}

TEST_F(BuildEventDataTest, IgnoresTheEventsDelayInATestRun) {
    EXPECT_EQ(build_event_data(context_, "PowerOn", 0).delay, 2);
    EXPECT_EQ(build_event_data(context_, "PowerOn", 1).delay, 0);
}

TEST_F(BuildEventDataTest, LeavesTheListAsItIs) {
    (void)build_event_data(context_, "PowerOn", 0);
    EXPECT_EQ(context_.eventList.get()->front().subCommands[0].data, "{{v}}");
}

TEST_F(BuildEventDataTest, AsksTheStatusServiceOnceForEveryName) {
    replace_tool("timeout", "echo asked >> /tmp/tools/questions\n");
    std::string questions;
    for (const char* name : {"PowerOn", "Nobody"}) {
        for (const std::int32_t mode : {0, 1}) {
            (void)build_event_data(context_, name, mode);
            questions += "asked\n";
            EXPECT_EQ(test::text_of("/tmp/tools/questions"), questions) << name << ' ' << mode;
        }
    }
}

TEST_F(BuildEventDataTest, AsksTheStatusServiceBeforeItExpands) {
    test::StatusService service("v:new\rb:2\rc:3\rd:4\re:5\rf:6\r");
    // The exchange has a tenth of a second, which a busy machine may miss.
    EXPECT_TRUE(test::eventually(
        [this] { return build_event_data(context_, "PowerOn", 0).subCommands[0].data == "new"; }));
}

TEST_F(BuildEventDataTest, UsesTheLastVariablesWithoutAStatusService) {
    EXPECT_EQ(build_event_data(context_, "PowerOn", 0).subCommands[0].data, "old");
}

TEST_F(BuildEventDataTest, AsksTheStatusServiceForAnUnknownNameToo) {
    test::write_text("/tmp/ruvo_var.txt", "");
    (void)build_event_data(context_, "Nobody", 0);
    EXPECT_EQ(test::text_of("/tmp/ruvo_var.txt"), "v=old\n");
}

TEST_F(BuildEventDataTest, AsksTheStatusServiceInATestRunToo) {
    test::write_text("/tmp/ruvo_var.txt", "");
    (void)build_event_data(context_, "PowerOn", 1);
    EXPECT_EQ(test::text_of("/tmp/ruvo_var.txt"), "v=old\n");
}

TEST_F(BuildEventDataTest, TellsNothingOfUnknownNamesAndMacros) {
    context_.eventList.set({{"U", "U", 0, 0, {{"", "", "", "{{unknown}}", 0, 0}}, 0, 0, 0}});
    g_debug_flag = 1;
    for (const char* const name : {"U", "Nobody"}) {
        EXPECT_EQ(test::output_of([&] { (void)build_event_data(context_, name, 0); }),
                  "[renew_macro_var:307]\n[renew_macro_var:327] save /tmp/ruvo_var.txt\n")
            << name;
    }
    EXPECT_EQ(log(), "");
}

TEST_F(BuildEventDataTest, DoesNotWaitForARebuildOfTheList) {
    std::future<EventEntry> entry;
    {
        const Guard rebuild(context_.lock);
        entry = std::async(std::launch::async,
                           [this] { return build_event_data(context_, "Lamp", 0); });
        EXPECT_EQ(entry.wait_for(test::kDeadline), std::future_status::ready);
    }
    EXPECT_EQ(entry.get().name, "Generic1");
}

TEST_F(BuildEventDataTest, ExpandsTheUptimeAsLastMeasured) {
    context_.eventList.set({{"U", "U", 0, 0, {{"", "", "", "{{uptime}}", 0, 0}}, 0, 0, 0}});
    g_uptime = 90;
    EXPECT_EQ(build_event_data(context_, "U", 0).subCommands[0].data, "90");
}

}  // namespace
}  // namespace ruvo
