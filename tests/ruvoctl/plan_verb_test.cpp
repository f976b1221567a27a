#include "ruvoctl/exit_status.h"
#include "ruvoctl/input_text.h"
#include "tests/ruvoctl/command_run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

class PlanVerb : public testing::Test {
  protected:
    PlanVerb() { ::unsetenv("COLUMNS"); }
    ~PlanVerb() override { std::filesystem::remove_all(folder_); }

    // A file of the test's own folder, and its path.
    [[nodiscard]] std::string file(const std::string& name, const std::string& text) const {
        const std::string path = folder_ + "/" + name;
        write_output(path, text);
        return path;
    }

    static CommandResult plan(std::vector<std::string> words) {
        words.insert(words.begin(), "plan");
        return run_ruvoctl(std::move(words));
    }

  private:
    static std::string make_folder() {
        std::string path = (std::filesystem::temp_directory_path() / "plan-XXXXXX").string();
        return ::mkdtemp(path.data());
    }

    std::string folder_ = make_folder();
};

constexpr char kSettings[] =
    "PowerOnCount=1\nPowerOnProtocol0=UDP\nPowerOnIP0=10.1.2.3\nPowerOnPort0=5000\n"
    "PowerOnData0=7B7B646174657D7D7B7B74696D657D7D7B7B757074696D657D7D7B7B617D7D\n"
    "LampCount=1\nLampXMLfield=Light\r\nOldCount=0\nDVIConnectedCount=1\n";

TEST_F(PlanVerb, PlansAnEventInTheGivenWorld) {
    const std::string status = file("status", "a:1\nb:\nc:\nd:\ne:\nf:\n");
    const CommandResult result =
        plan({"-f", file("ruvo.txt", kSettings), "--now", "2026-11-21T03:18:38", "--uptime", "90",
              "--status", status, "PowerOn"});
    EXPECT_EQ(result.out, R"(PowerOn: starts 0 to 350 ms after the trigger
  line 1, delay 0 s, 1 step
  step 0    0 to 350 ms  UDP to 10.1.2.3:5000
      0000  32 30 32 36 2D 31 31 2D  32 31 20 30 33 3A 31 38  2026-11-21 03:18
      0010  3A 33 38 39 30 31                                 :38901
      {{date}} = "2026-11-21 " (the clock)
      {{time}} = "03:18:38" (the clock)
      {{uptime}} = "90" (the uptime)
      {{a}} = "1" (status item)

1 event, 1 step: 1 sent, 0 skipped, 0 lost
)");
    EXPECT_EQ(result.talk, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(PlanVerb, TheExitStatusSaysWhatIsSent) {
    const std::string settings = file("ruvo.txt", kSettings);
    struct Case {
        std::vector<std::string> words;
        int status;
        const char* why;
    };
    const Case cases[] = {
        {{"PowerOn"}, 0, "sent"},
        {{"--trigger-text", "PowerOn\\n"}, 0, "sent"},
        {{"--all"}, 3, "a step is lost"},
        {{"Nobody"}, 3, "not found"},
        {{"--trigger-text=PowerOn\\r\\n"}, 3, "not found"},
        {{"--trigger-text", ""}, 4, "no request"},
        {{"--trigger-text=__GET__:x"}, 4, "a command"},
        {{"Old"}, 4, "switched off by its Count"},
        {{"--disabled=trigger", "PowerOn"}, 4, "refused"},
        {{"--disabled", "run", "PowerOn"}, 4, "skipped"},
        {{"--disabled=run", "Nobody"}, 3, "not found all the same"},
        {{"--disabled=trigger", "Nobody"}, 4, "nothing is queued whatever the name"},
        {{"--disabled=trigger", "--trigger-text", "Nobody"}, 4, "nor whatever the text"},
        {{"--disabled=trigger", "--test", "Nobody"}, 3, "a test run knows no switch"},
        {{"--uptime=120", "DVIConnected"}, 4, "in the power-on window"},
        {{"--uptime=121", "DVIConnected"}, 3, "without a protocol"},
        {{"--test", "Lamp"}, 3, "found by its name, but lost"},
        {{"--test", "Light\r"}, 3, "not found by its trigger"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> words = c.words;
        words.insert(words.begin(), {"-f", settings});
        EXPECT_EQ(plan(words).status, c.status) << c.why << ": " << c.words.front();
    }
}

TEST_F(PlanVerb, WrongUsageIsRefused) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"E", "--all"},
        {"E", "--trigger-text", "E"},
        {"--all", "--trigger-text", "E"},
        {"--names", "--all"},
        {"--names", "--timeline"},
        {"--names", "--format", "svg"},
        {"--names", "--now", "2026-11-21 03:18:38"},
        {"--names", "--uptime", "1"},
        {"--names", "--status", "s"},
        {"--names", "--disabled", "run"},
        {"-f", "-", "--status", "-", "E"},
        {"E", "F"},
        {"--test", "--trigger-text", "E"},
        {"--trigger-text", "\\q"},
        {"--json", "--format", "svg", "E"},
        {"--json", "--timeline", "E"},
        {"--timeline", "--format=text", "E"},
        {"--format", "png", "E"},
        {"--now", "now", "E"},
        {"--uptime", "-1", "E"},
        {"--uptime", "1x", "E"},
        {"--disabled", "now", "E"},
        {"--disabled"},
        {"--word", "16", "E"},
    };
    for (const auto& words : wrong) {
        EXPECT_EQ(plan(words).status, kWrongUsage) << testing::PrintToString(words);
    }
}

TEST_F(PlanVerb, AFileThatCannotBeReadIsAFailure) {
    EXPECT_EQ(plan({"-f", "/nowhere/ruvo.txt", "E"}).status, kFailed);
    const std::string settings = file("ruvo.txt", kSettings);
    EXPECT_EQ(plan({"-f", settings, "--status", "/nowhere/status", "E"}).status, kFailed);
}

TEST_F(PlanVerb, TellsWhatANameThatFindsNothingCauses) {
    const std::string settings = file("ruvo.txt", kSettings);
    EXPECT_EQ(plan({"-f", settings, "powerOn"}).talk,
              "ruvoctl: no event answers to \"powerOn\": the daemon echoes the trigger and sends "
              "nothing; did you mean \"PowerOn\"?\n");
    EXPECT_EQ(plan({"-f", settings, "--test", "Projector"}).talk,
              "ruvoctl: no event answers to \"Projector\": the daemon says that it calls the event "
              "and sends nothing; ruvoctl plan --names lists the events\n");
    EXPECT_EQ(plan({"-f", settings, "--trigger-text", "Light"}).talk,
              "ruvoctl: no event answers to \"Light\": the daemon echoes the trigger and sends "
              "nothing; did you mean \"Light\\r\"?\n");
    EXPECT_EQ(plan({"-f", settings, "Old"}).talk,
              "ruvoctl: the event \"Old\" is switched off by its Count: nothing is sent\n");
    EXPECT_EQ(plan({"-f", settings, "--disabled=trigger", "--trigger-text", "Light"}).talk,
              "ruvoctl: no event answers to \"Light\", but events are switched off: the daemon "
              "replies \"Event Disabled, skip ...\" to any name and queues nothing; did you mean "
              "\"Light\\r\"?\n");
    EXPECT_EQ(plan({"-f", file("empty", ""), "a\x1B"}).talk,
              "ruvoctl: no event answers to \"a\\x1B\": the daemon echoes the trigger and sends "
              "nothing; the file has no event\n");
}

TEST_F(PlanVerb, ACountThatOnlyReadsAsZeroIsAFault) {
    const CommandResult result =
        plan({"-f", file("ruvo.txt", "ECount=4294967296\n"), "--word=64", "E"});
    EXPECT_EQ(
        result.talk,
        "ruvoctl: the event \"E\" is switched off by its Count, whose \"4294967296\" reads as "
        "0: nothing is sent\n");
    EXPECT_EQ(result.status, 3);
}

TEST_F(PlanVerb, ANameThatCannotBeTypedMayBeGivenAsItIsPrinted) {
    const CommandResult result = plan({"-f", file("ruvo.txt", kSettings), "Light\\r"});
    EXPECT_TRUE(result.out.starts_with("Lamp (triggered as \"Light\\r\")")) << result.out;
    EXPECT_EQ(result.talk,
              "ruvoctl: \"Light\\r\" is taken as the name with its escapes replaced\n");
}

TEST_F(PlanVerb, TellsOfAReportThatIsTooShort) {
    const std::string status = file("status", "a:1\rb:2\r\n");
    const CommandResult result =
        plan({"-f", file("ruvo.txt", kSettings), "--status", status, "--json", "PowerOn"});
    EXPECT_EQ(result.talk, "ruvoctl: " + status +
                               " has 2 status items; the daemon takes a report over from 6 on, so "
                               "this plan has none\n");
    EXPECT_NE(result.out.find("\"source\": \"unknown\""), std::string::npos);
}

TEST_F(PlanVerb, NamesAreForTheShell) {
    const std::string settings = file("ruvo.txt", kSettings);
    EXPECT_EQ(plan({"-f", settings, "--names"}).out, "PowerOn\nLight\\r\nDVIConnected\n");
    EXPECT_EQ(plan({"-f", settings, "--names", "--test"}).out, "PowerOn\nLamp\nDVIConnected\n");
    EXPECT_EQ(plan({"-f", file("empty-name", "ECount=1\nEXMLfield=\n"), "--names"}).out, "");
    EXPECT_EQ(plan({"-f", settings, "--names", "--json"}).out,
              "{\n  \"format\": \"ruvoctl.names\",\n  \"version\": 1,\n  \"file\": \"" + settings +
                  "\",\n  \"names\": [\n    \"PowerOn\",\n    \"Light\\\\r\",\n    "
                  "\"DVIConnected\"\n  ]\n}\n");
    EXPECT_EQ(plan({"-f", "/nowhere/ruvo.txt", "--names", "--json"}).status, kFailed);
    const CommandResult unread = plan({"-f", "/nowhere/ruvo.txt", "--names"});
    EXPECT_EQ(unread.out, "");
    EXPECT_EQ(unread.talk, "ruvoctl: cannot read /nowhere/ruvo.txt: No such file or directory\n");
    EXPECT_EQ(unread.status, kFailed);
}

TEST_F(PlanVerb, PrintsTheFormThatIsAskedFor) {
    const std::string settings = file("ruvo.txt", kSettings);
    struct Case {
        std::vector<std::string> words;
        const char* begin;
    };
    const Case cases[] = {
        {{}, "PowerOn: starts"},
        {{"--format", "text"}, "PowerOn: starts"},
        {{"--json"}, "{\n  \"format\": \"ruvoctl.plan\",\n"},
        {{"--format", "json"}, "{\n  \"format\": \"ruvoctl.plan\",\n"},
        {{"--format=svg"}, "<svg "},
        {{"--timeline"}, "PowerOn\n  0 udp 10.1.2.3:5000 |"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> words = c.words;
        words.insert(words.end(), {"-f", settings, "PowerOn"});
        const CommandResult result = plan(words);
        EXPECT_TRUE(result.out.starts_with(c.begin)) << result.out;
        EXPECT_TRUE(result.out.ends_with("\n"));
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(PlanVerb, ATimelineIsAsWideAsTheTerminal) {
    const std::string settings = file("ruvo.txt", kSettings);
    const auto width_of_axis = [&] {
        const std::string text = plan({"-f", settings, "--timeline", "PowerOn"}).out;
        const auto begin = text.rfind('\n', text.find("|+")) + 1;
        return text.find('\n', begin) - begin;
    };
    EXPECT_EQ(width_of_axis(), 79U);
    ::setenv("COLUMNS", "120", 1);
    EXPECT_EQ(width_of_axis(), 119U);
    ::setenv("COLUMNS", "wide", 1);
    EXPECT_EQ(width_of_axis(), 79U);
    ::unsetenv("COLUMNS");
}

TEST_F(PlanVerb, TheWordIsTheDevices) {
    const std::string settings = file("ruvo.txt", "ECount=4294967297\n");
    EXPECT_NE(plan({"-f", settings, "--word=32", "E"}).out.find(", 128 steps\n"),
              std::string::npos);
    EXPECT_NE(plan({"-f", settings, "--word=64", "E"}).out.find(", 1 step\n"), std::string::npos);
}

}  // namespace
}  // namespace ruvo::ctl
