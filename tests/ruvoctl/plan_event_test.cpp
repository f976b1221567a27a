#include "ruvoctl/plan/plan_event.h"

#include "ruvoctl/plan/local_time_text.h"
#include "ruvoctl/status_report.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

World world() {
    World given;
    given.local_time = *parse_local_time("2026-11-21 03:18:38");
    return given;
}

Plan plan_of(const std::string& settings, const World& given = world(),
             const std::string& name = "E") {
    return plan_event(read_source(settings), given, name);
}

PlannedEvent event_of(const std::string& settings, const World& given = world(),
                      const std::string& name = "E") {
    const Plan plan = plan_of(settings, given, name);
    return plan.events.empty() ? PlannedEvent{} : plan.events.front();
}

PlannedStep step_of(const std::string& settings, const World& given = world(),
                    const std::string& name = "E") {
    const PlannedEvent event = event_of(settings, given, name);
    return event.steps.empty() ? PlannedStep{} : event.steps.front();
}

std::string step_with_data(const std::string& hex) {
    return "ECount=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=5000\nEData0=" + hex + "\n";
}

constexpr char kDisplaySettings[] =
    "dviConnectedCount=1\ndviConnectedProtocol0=UDP\ndviConnectedIP0=10.1.2.3\n"
    "dviConnectedPort0=5000\ndviConnectedData0=41\n";

constexpr char kSixItems[] = "a:1\nb:2\ninput:HDMI1\nc:3\ntime:noon\nd:\n";

TEST(PlanEvent, SaysEverythingOfAStep) {
    const PlannedEvent event = event_of(
        "# text\nECount=1\nEXMLfield=Lamp\nEDelay=2\nEProtocol0=UDP\nEIP0=10.1.2.3\n"
        "EPort0=5000\nEData0=4F4E5C720042\nEDelay0=250\n",
        world(), "Lamp");
    EXPECT_EQ(event.name, "E");
    EXPECT_EQ(event.trigger, "Lamp");
    EXPECT_EQ(event.line, 2U);
    EXPECT_EQ(event.delay_s, 2);
    EXPECT_EQ(event.step_count, 1U);
    EXPECT_EQ(event.outcome, EventOutcome::kRuns);
    ASSERT_EQ(event.steps.size(), 1U);
    const PlannedStep& step = event.steps[0];
    EXPECT_EQ(step.index, 0U);
    EXPECT_EQ(step.outcome, StepOutcome::kSends);
    EXPECT_EQ(step.reason, StepReason::kNone);
    EXPECT_EQ(step.sender, Sender::kUdp);
    EXPECT_EQ(step.protocol, "UDP");
    EXPECT_EQ(step.destination.ip, "10.1.2.3");
    EXPECT_EQ(step.destination.port, 5000);
    EXPECT_EQ(step.delay, 250ms);
    EXPECT_EQ(step.due, 250ms);
    EXPECT_EQ(step.window.earliest, 2250ms);
    EXPECT_EQ(step.window.latest, 2500ms);
    EXPECT_EQ(step.data, "ON\r");
    EXPECT_EQ(step.expanded, "ON\r\0B"s);
    EXPECT_EQ(step.cut_bytes, 2U);
    EXPECT_EQ(step.log_line, "10.1.2.3:5000 UDP ON\r\n");
}

TEST(PlanEvent, TheStartIsTheDelayOrTheLookupAndAPassOfTheQueue) {
    struct Case {
        const char* delay;
        std::chrono::milliseconds earliest;
        std::chrono::milliseconds latest;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"0", 0ms, 350ms, "the lookup takes up to 100 ms, or no time at all"},
        {"1", 1000ms, 1250ms, "the delay hides the lookup"},
        {"59", 59000ms, 59250ms, "the longest that runs"},
        {"-5", 0ms, 350ms, "never before the trigger"},
        {"x", 0ms, 350ms, "no number"},
    };
    for (const Case& c : kCases) {
        const PlannedEvent event = event_of(step_with_data("41") + "EDelay=" + c.delay + "\n");
        ASSERT_TRUE(event.start.has_value()) << c.why;
        EXPECT_EQ(event.start->earliest, c.earliest) << c.why;
        EXPECT_EQ(event.start->latest, c.latest) << c.why;
    }
}

TEST(PlanEvent, AnEventThatWaits60SecondsIsStale) {
    for (const char* const delay : {"60", "61", "2147483647"}) {
        const PlannedEvent event = event_of(step_with_data("41") + "EDelay=" + delay + "\n");
        EXPECT_EQ(event.outcome, EventOutcome::kStale) << delay;
        EXPECT_EQ(event.step_count, 1U);
        EXPECT_TRUE(event.steps.empty());
        EXPECT_FALSE(event.start.has_value());
    }
}

TEST(PlanEvent, StepsAreDueAfterTheirDelaysInIndexOrder) {
    struct Expected {
        std::chrono::microseconds delay;
        std::chrono::microseconds due;
    };
    const PlannedEvent event = event_of(
        "ECount=6\nEDelay=1\nEDelay0=500\nEDelay1=0\nEDelay2=0\nEDelay3=-700\nEDelay5=20\n");
    const Expected expected[] = {{500ms, 500ms}, {500ms, 500100us}, {500ms, 500200us},
                                 {-200ms, 0ms},  {0ms, 0ms},        {20ms, 20ms}};
    ASSERT_EQ(event.steps.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(event.steps[i].delay, expected[i].delay) << i;
        EXPECT_EQ(event.steps[i].due, expected[i].due) << i;
        EXPECT_EQ(event.steps[i].window.earliest, 1s + expected[i].due) << i;
        EXPECT_EQ(event.steps[i].window.latest, 1250ms + expected[i].due) << i;
    }
}

TEST(PlanEvent, DataIsCutWhereTheSenderCutsIt) {
    struct Case {
        std::string hex;
        std::string data;
        std::size_t cut;
        const char* why;
    };
    const auto repeated = [](std::size_t count) {
        std::string hex;
        for (std::size_t i = 0; i < count; ++i) hex += "41";
        return hex;
    };
    const Case cases[] = {
        {"", "", 0, "no data"},
        {repeated(103), std::string(103, 'A'), 0, "the most that leaves"},
        {repeated(104), std::string(103, 'A'), 1, "one more"},
        {repeated(103) + "0D", std::string(103, 'A'), 1, "the terminator is lost"},
        {"410042", "A", 2, "a zero byte and all behind it"},
        {"0041", "", 2, "a zero byte at the beginning"},
        {repeated(110) + "00", std::string(103, 'A'), 8, "both"},
        {"415C6E5C725C74", "A\n\r\t", 0, "escapes"},
        {"5C78304441", "\\x0DA", 0, "no escape"},
        {"ABC", "\xAB\x0C", 0, "a lone last digit"},
        {"4G", "\x04", 0, "a bad digit"},
    };
    for (const Case& c : cases) {
        const PlannedStep step = step_of(step_with_data(c.hex));
        EXPECT_EQ(step.data, c.data) << c.why;
        EXPECT_EQ(step.cut_bytes, c.cut) << c.why;
        EXPECT_EQ(step.expanded.size(), c.data.size() + c.cut) << c.why;
    }
}

TEST(PlanEvent, MacrosAreNamedWithTheirValueAndSource) {
    World given = world();
    given.status = status_report(kSixItems);
    // {{DATE}}|{{time}}|{{Time}}|{{uptime}}|{{input}}|{{Input}}|{{d}}
    const PlannedStep step = step_of(
        step_with_data("7B7B444154457D7D7C7B7B74696D657D7D7C7B7B54696D657D7D7C7B7B757074696D657D7D"
                       "7C7B7B696E7075747D7D7C7B7B496E7075747D7D7C7B7B647D7D"),
        given);
    EXPECT_EQ(step.data, "2026-11-21 |noon|03:18:38|3600|HDMI1||");
    struct Expected {
        const char* name;
        const char* value;
        MacroSource source;
    };
    constexpr Expected kExpected[] = {
        {"DATE", "2026-11-21 ", MacroSource::kDate},
        {"time", "noon", MacroSource::kStatus},  // shadows the clock's
        {"Time", "03:18:38", MacroSource::kTime},
        {"uptime", "3600", MacroSource::kUptime},
        {"input", "HDMI1", MacroSource::kStatus},
        {"Input", "", MacroSource::kUnknown},
        {"d", "", MacroSource::kStatus},
    };
    ASSERT_EQ(step.macros.size(), std::size(kExpected));
    for (std::size_t i = 0; i < std::size(kExpected); ++i) {
        EXPECT_EQ(step.macros[i].name, kExpected[i].name);
        EXPECT_EQ(step.macros[i].value.text, kExpected[i].value) << kExpected[i].name;
        EXPECT_EQ(step.macros[i].value.source, kExpected[i].source) << kExpected[i].name;
    }
}

TEST(PlanEvent, WithoutAReportAMacroMayBeAnItemOfIt) {
    const std::string settings = step_with_data("7B7B6E6F7D7D");
    EXPECT_FALSE(step_of(settings).macros.at(0).report_given);
    World given = world();
    given.status = status_report("");
    EXPECT_TRUE(step_of(settings, given).macros.at(0).report_given);
}

TEST(PlanEvent, ZerosOfTheLineEndAreCounted) {
    struct Case {
        const char* data;
        std::size_t zeros;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"4142", 0, "no line end"},       {"4142\r", 1, "a carriage return"},
        {"4142 \t\r", 2, "with blanks"},  {"414200\r", 1, "behind a zero byte"},
        {"414\r", 0, "the lone digit's"}, {"\r", 1, "alone"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(step_of(step_with_data(c.data)).line_end_zeros, c.zeros) << c.why;
    }
}

TEST(PlanEvent, AMacroThatIsNotClosedStaysAsItIs) {
    const PlannedStep step = step_of(step_with_data("7B7B74696D65"));
    EXPECT_EQ(step.data, "{{time");
    EXPECT_TRUE(step.macros.empty());
}

TEST(PlanEvent, AMacroIsExpandedBeforeTheCut) {
    World given = world();
    given.status = status_report("a:\nb:\nc:\nd:\ne:\nlong:" + std::string(200, 'y') + "\n");
    const PlannedStep step = step_of(step_with_data("7B7B6C6F6E677D7D0D"), given);
    EXPECT_EQ(step.data, std::string(103, 'y'));
    EXPECT_EQ(step.expanded, std::string(200, 'y') + "\r");
    EXPECT_EQ(step.cut_bytes, 98U);
}

TEST(PlanEvent, AReportOfFiveItemsGivesNoMacroAValue) {
    World given = world();
    given.status = status_report("a:1\nb:2\nc:3\nd:4\ne:5\n");
    EXPECT_EQ(step_of(step_with_data("7B7B617D7D7C"), given).data, "|");
}

TEST(PlanEvent, ADestinationIsWhatItsSocketSees) {
    struct Case {
        const char* ip;
        const char* port;
        const char* seen_ip;
        std::uint16_t seen_port;
        bool parsed;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"10.1.2.3", "5000", "10.1.2.3", 5000, true, "as it is"},
        {"projector.local", "80", "0.0.0.0", 80, false, "a host name"},
        {"10.1.2.03", "80", "0.0.0.0", 80, false, "a leading zero"},
        {"10.1.2.3 ", "80", "0.0.0.0", 80, false, "a blank behind it"},
        {"10.1.2.3\r", "80", "0.0.0.0", 80, false, "a carriage return behind it"},
        {"", "80", "0.0.0.0", 80, false, "none"},
        {"0.0.0.0", "80", "0.0.0.0", 80, true, "an address all the same"},
        {"10.1.2.3", "65536", "10.1.2.3", 0, true, "beyond 16 bits"},
        {"10.1.2.3", "65537", "10.1.2.3", 1, true, "the low 16 bits"},
        {"10.1.2.3", "-1", "10.1.2.3", 65535, true, "a minus sign wraps"},
        {"10.1.2.3", " 80x", "10.1.2.3", 80, true, "the number it begins with"},
        {"10.1.2.3", "http", "10.1.2.3", 0, true, "no number"},
        {"10.1.2.3", "", "10.1.2.3", 0, true, "no port"},
    };
    for (const Case& c : kCases) {
        const PlannedStep step =
            step_of("ECount=1\nEProtocol0=TCP\nEIP0="s + c.ip + "\nEPort0=" + c.port + "\n");
        EXPECT_EQ(step.destination.ip, c.seen_ip) << c.why;
        EXPECT_EQ(step.destination.port, c.seen_port) << c.why;
        EXPECT_EQ(step.destination.ip_parsed, c.parsed) << c.why;
        EXPECT_EQ(step.configured_ip, c.ip) << c.why;
        EXPECT_EQ(step.configured_port, c.port) << c.why;
    }
}

TEST(PlanEvent, NumbersAreReadWithTheDevicesWord) {
    World given = world();
    const std::string settings = "ECount=1\nEProtocol0=TCP\nEIP0=10.1.2.3\nEPort0=4294967376\n";
    given.word = WordSize::k64;
    EXPECT_EQ(step_of(settings, given).destination.port, 80);
    given.word = WordSize::k32;
    EXPECT_EQ(step_of(settings, given).destination.port, 65535);
}

TEST(PlanEvent, TheProtocolChoosesTheSender) {
    struct Case {
        const char* protocol;
        Sender sender;
        StepOutcome outcome;
        StepReason reason;
    };
    constexpr Case kCases[] = {
        {"UDP", Sender::kUdp, StepOutcome::kSends, StepReason::kNone},
        {"TCP", Sender::kTcp, StepOutcome::kSends, StepReason::kNone},
        {"TCP/UDP", Sender::kTcp, StepOutcome::kSends, StepReason::kNone},
        {"UDPStatus", Sender::kUdpStatus, StepOutcome::kSends, StepReason::kNone},
        {"TCPStatus\r", Sender::kTcpStatus, StepOutcome::kSends, StepReason::kNone},
        {"udp", Sender::kNone, StepOutcome::kLost, StepReason::kNoProtocol},
        {"Status", Sender::kNone, StepOutcome::kLost, StepReason::kNoProtocol},
        {"", Sender::kNone, StepOutcome::kLost, StepReason::kNoProtocol},
    };
    for (const Case& c : kCases) {
        const PlannedStep step = step_of(
            "ECount=1\nEIP0=10.1.2.3\nEPort0=9\nEData0=41\nEProtocol0="s + c.protocol + "\n");
        EXPECT_EQ(step.sender, c.sender) << c.protocol;
        EXPECT_EQ(step.outcome, c.outcome) << c.protocol;
        EXPECT_EQ(step.reason, c.reason) << c.protocol;
        EXPECT_EQ(step.log_line, "10.1.2.3:9 "s + c.protocol + " A\n") << c.protocol;
    }
}

TEST(PlanEvent, AStepToARefusedDestinationIsLost) {
    const PlannedStep step =
        step_of("ECount=1\nEProtocol0=UDP\nEIP0=255.255.255.255\nEPort0=9\nEData0=41\n");
    EXPECT_EQ(step.outcome, StepOutcome::kLost);
    EXPECT_EQ(step.reason, StepReason::kRefusedDestination);
    EXPECT_EQ(step.log_line, "255.255.255.255:9 UDP A\n");
}

TEST(PlanEvent, AStatusVariantSendsTheReportInPlaceOfItsData) {
    const std::string settings =
        "ECount=1\nEProtocol0=UDPStatus\nEIP0=10.1.2.3\nEPort0=9\nEData0=4142\n";
    PlannedStep step = step_of(settings);
    EXPECT_FALSE(step.data.has_value());
    EXPECT_EQ(step.expanded, "AB");
    EXPECT_EQ(step.cut_bytes, 2U);
    EXPECT_EQ(step.log_line, "10.1.2.3:9 UDPStatus AB\n");

    World given = world();
    given.status = status_report("a:1\nb:2\n");
    EXPECT_EQ(step_of(settings, given).data, "a:1\rb:2\r");
}

TEST(PlanEvent, DisplayEventsAreSkippedInThePowerOnWindow) {
    struct Case {
        std::int64_t uptime_s;
        const char* delay;
        StepOutcome outcome;
        const char* log_line;
        const char* why;
    };
    constexpr Case kCases[] = {
        {120, "0", StepOutcome::kSkipped, "skip uptime=120,10.1.2.3:5000 UDP A\n", "in it"},
        {121, "0", StepOutcome::kSends, "10.1.2.3:5000 UDP A\n", "over"},
        {100, "20", StepOutcome::kSkipped, "skip uptime=120,10.1.2.3:5000 UDP A\n",
         "still in it when the event runs"},
        {100, "21", StepOutcome::kSends, "10.1.2.3:5000 UDP A\n", "over when the event runs"},
    };
    for (const Case& c : kCases) {
        World given = world();
        given.uptime_s = c.uptime_s;
        const PlannedStep step = step_of(kDisplaySettings + "dviConnectedDelay="s + c.delay + "\n",
                                         given, "dviConnected");
        EXPECT_EQ(step.outcome, c.outcome) << c.why;
        EXPECT_EQ(step.reason, c.outcome == StepOutcome::kSkipped ? StepReason::kPowerOnWindow
                                                                  : StepReason::kNone)
            << c.why;
        EXPECT_EQ(step.log_line, c.log_line) << c.why;
    }
}

TEST(PlanEvent, TheEndOfThePowerOnWindowIsNotCertain) {
    struct Case {
        std::int64_t uptime_s;
        const char* delay;
        bool certain;
        const char* why;
    };
    constexpr Case kCases[] = {
        {117, "0", true, "more than 2 s before"},  {118, "0", false, "2 s before"},
        {122, "0", false, "2 s behind"},           {123, "0", true, "more than that"},
        {100, "20", false, "when the event runs"}, {120, "20", true, "when it is only triggered"},
    };
    for (const Case& c : kCases) {
        World given = world();
        given.uptime_s = c.uptime_s;
        const std::string delay = "dviConnectedDelay="s + c.delay + "\n";
        EXPECT_EQ(event_of(kDisplaySettings + delay, given, "dviConnected").power_on_window_certain,
                  c.certain)
            << c.why;
        given.test = true;
        EXPECT_TRUE(
            event_of(kDisplaySettings + delay, given, "dviConnected").power_on_window_certain);
    }
    World given = world();
    given.uptime_s = 120;
    EXPECT_TRUE(event_of(step_with_data("41"), given).power_on_window_certain)
        << "the window is nothing to other events";
}

TEST(PlanEvent, ATailIsWhatConnectingAndFetchingTake) {
    struct Case {
        const char* protocol;
        std::chrono::seconds tail;
    };
    constexpr Case kCases[] = {
        {"UDP", 0s}, {"TCP", 2s}, {"UDPStatus", 6s}, {"TCPStatus", 8s}, {"tcp", 0s}};
    for (const Case& c : kCases) {
        const std::string settings =
            "ECount=1\nEIP0=10.1.2.3\nEPort0=9\nEProtocol0="s + c.protocol + "\n";
        EXPECT_EQ(tail_of(step_of(settings)), c.tail) << c.protocol;
    }
    EXPECT_EQ(tail_of(step_of("ECount=1\nEIP0=224.0.0.1\nEPort0=9\nEProtocol0=TCP\n")), 0s)
        << "nothing is sent";
}

TEST(PlanEvent, OtherEventsRunInThePowerOnWindow) {
    World given = world();
    given.uptime_s = 5;
    EXPECT_EQ(step_of(step_with_data("41"), given).outcome, StepOutcome::kSends);
}

TEST(PlanEvent, AnEventThatIsTriggeredWhileSwitchedOffIsRefused) {
    World given = world();
    given.switch_position = SwitchPosition::kOffWhenTriggered;
    const PlannedEvent event = event_of(step_with_data("41"), given);
    EXPECT_EQ(event.outcome, EventOutcome::kRefused);
    EXPECT_TRUE(event.steps.empty());
    EXPECT_FALSE(event.start.has_value());
}

TEST(PlanEvent, AnEventThatRunsWhileSwitchedOffSkipsItsSteps) {
    World given = world();
    given.switch_position = SwitchPosition::kOffBeforeRun;
    const PlannedStep step = step_of(step_with_data("41") + "EDelay=3\n", given);
    EXPECT_EQ(step.outcome, StepOutcome::kSkipped);
    EXPECT_EQ(step.reason, StepReason::kSwitchedOff);
    EXPECT_EQ(step.log_line, "10.1.2.3:5000 UDP A, disabled uptime=3603\n");
}

TEST(PlanEvent, ATestRunKnowsNoDelayNoSwitchAndNoWindow) {
    for (const SwitchPosition position :
         {SwitchPosition::kOffWhenTriggered, SwitchPosition::kOffBeforeRun}) {
        World given = world();
        given.test = true;
        given.uptime_s = 5;
        given.switch_position = position;
        const PlannedEvent event =
            event_of(kDisplaySettings + "dviConnectedDelay=90\ndviConnectedXMLfield=Plug\n"s, given,
                     "dviConnected");
        EXPECT_EQ(event.outcome, EventOutcome::kRuns);
        EXPECT_EQ(event.delay_s, 0);
        ASSERT_EQ(event.steps.size(), 1U);
        EXPECT_EQ(event.steps[0].outcome, StepOutcome::kSends);
        EXPECT_EQ(event.steps[0].window.latest, 350ms);
    }
}

TEST(PlanEvent, ATestRunFindsAnEventByItsName) {
    const std::string settings = step_with_data("41") + "EXMLfield=Lamp\n";
    World given = world();
    EXPECT_EQ(event_of(settings, given, "E").name, "");
    EXPECT_EQ(event_of(settings, given, "Lamp").name, "E");
    given.test = true;
    EXPECT_EQ(event_of(settings, given, "E").name, "E");
    EXPECT_EQ(event_of(settings, given, "Lamp").name, "");
}

TEST(PlanEvent, OfTwoEventsWithOneTriggerTheSecondIsUnreachable) {
    const std::string settings = "ACount=2\nAXMLfield=Lamp\nBCount=1\nBXMLfield=Lamp\nACount=1\n";
    const Plan plan = plan_all(read_source(settings), world());
    ASSERT_EQ(plan.events.size(), 3U);
    EXPECT_EQ(plan.events[0].outcome, EventOutcome::kRuns);
    EXPECT_EQ(plan.events[0].line, 1U);
    EXPECT_EQ(plan.events[1].outcome, EventOutcome::kUnreachable);
    ASSERT_TRUE(plan.events[1].found_instead.has_value());
    EXPECT_EQ(plan.events[1].found_instead->name, "A");
    EXPECT_EQ(plan.events[1].found_instead->line, 1U);
    EXPECT_TRUE(plan.events[1].steps.empty());
    EXPECT_EQ(plan.events[2].outcome, EventOutcome::kUnreachable);
    EXPECT_EQ(plan.events[2].line, 5U);
    EXPECT_EQ(summarize(plan), (PlanSummary{.events = 3, .steps = 4, .sends = 0, .lost = 4}));

    World test_run = world();
    test_run.test = true;
    EXPECT_EQ(plan_all(read_source(settings), test_run).events[1].outcome, EventOutcome::kRuns);
}

TEST(PlanEvent, AnEventWhoseTriggerCannotBeSentIsUnreachable) {
    struct Case {
        std::string trigger;
        bool reachable;
        const char* why;
    };
    const Case cases[] = {
        {"Lamp", true, "a plain name"},
        {"", true, "an empty line finds it"},
        {"Lamp\r", true, "a carriage return can be sent"},
        {"a=b", false, "cut at the equals sign"},
        {"__x", false, "taken for a command"},
        {std::string(1023, 'x'), true, "as long as a request"},
        {std::string(1024, 'x'), false, "longer"},
    };
    for (const Case& c : cases) {
        const Plan plan = plan_all(read_source("ECount=1\nEXMLfield=" + c.trigger + "\n"), world());
        ASSERT_EQ(plan.events.size(), 1U);
        EXPECT_EQ(plan.events[0].outcome == EventOutcome::kRuns, c.reachable) << c.why;
        EXPECT_FALSE(plan.events[0].found_instead.has_value()) << c.why;
    }
}

TEST(PlanEvent, ATestRunReachesWhatItsCommandCanName) {
    World given = world();
    given.test = true;
    const Plan plan = plan_all(read_source(std::string(1014, 'x') + "Count=1\n" +
                                           std::string(1015, 'y') + "Count=1\na:bCount=1\n"),
                               given);
    ASSERT_EQ(plan.events.size(), 3U);
    EXPECT_EQ(plan.events[0].outcome, EventOutcome::kRuns);
    EXPECT_EQ(plan.events[1].outcome, EventOutcome::kUnreachable);
    EXPECT_EQ(plan.events[2].outcome, EventOutcome::kRuns);
}

TEST(PlanEvent, AMalformedIndexVoidsTheFile) {
    struct Case {
        const char* settings;
        std::size_t line;
        std::size_t column;
        const char* cause;
    };
    constexpr Case kCases[] = {
        {"#\nEData[0]=41\nECount=1\nEIPx=1\n", 2, 6,
         "\"[0]\" behind EData stands where an index is expected and is no number"},
        {"ECount=1\n#\nECountX=1\n", 3, 7,
         "\"X\" behind ECount stands where an index is expected and is no number"},
        {"ECount=1\nEIP99999999999999999999=1\n", 2, 4,
         "the index \"99999999999999999999\" behind EIP is too large a number"},
    };
    for (const Case& c : kCases) {
        const Plan plan = plan_all(read_source(c.settings), world());
        ASSERT_TRUE(plan.voided.has_value()) << c.cause;
        EXPECT_EQ(plan.voided->line, c.line) << c.cause;
        EXPECT_EQ(plan.voided->column, c.column) << c.cause;
        EXPECT_EQ(plan.voided->cause, c.cause);
        EXPECT_TRUE(plan.events.empty()) << c.cause;
        EXPECT_TRUE(plan_of(c.settings).voided.has_value());
        EXPECT_TRUE(plan_of(c.settings).events.empty());
        EXPECT_TRUE(trigger_names(read_source(c.settings), world()).empty());
    }
}

TEST(PlanEvent, AMalformedIndexWithoutAnEventIsHarmless) {
    EXPECT_FALSE(plan_of("FDatax=41\n" + step_with_data("41")).voided.has_value());
}

TEST(PlanEvent, AnIndexIsReadWithTheDevicesWord) {
    World given = world();
    const std::string settings = "ECount=1\nEIP4294967296=10.0.0.1\n";
    given.word = WordSize::k64;
    EXPECT_FALSE(plan_of(settings, given).voided.has_value());
    given.word = WordSize::k32;
    EXPECT_TRUE(plan_of(settings, given).voided.has_value());
}

TEST(PlanEvent, NamesAreThoseThatTrigger) {
    const SettingsSource source =
        read_source("ACount=1\nBCount=1\nBXMLfield=Lamp\nCCount=1\nCXMLfield=A\nDCount=0\n");
    World given = world();
    EXPECT_EQ(trigger_names(source, given), (std::vector<std::string>{"A", "Lamp"}));
    given.test = true;
    EXPECT_EQ(trigger_names(source, given), (std::vector<std::string>{"A", "B", "C"}));
}

TEST(PlanEvent, AnEventIsSwitchedOffByItsCount) {
    struct Case {
        const char* settings;
        const char* name;
        bool expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"ECount=0\n", "E", true, "none"},
        {"ECount=-1\r\n", "E", true, "less than none"},
        {"ECount=abc\n", "E", false, "no number"},
        {"ECount=\n", "E", false, "nothing"},
        {"ECount0=0\n", "E", false, "no Count"},
        {"EDelay=0\n", "E", false, "another field"},
        {"ECount=0\nEXMLfield=Lamp\n", "Lamp", true, "by its trigger"},
        {"ECount=0\nEXMLfield=Lamp\n", "E", false, "which is not its name"},
        {"ECount=0\nEIPx=1\n", "E", true, "though it would void the file"},
        {"ECount=0\n", "F", false, "another event"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(is_switched_off(read_source(c.settings), world(), c.name), c.expected) << c.why;
        EXPECT_EQ(switching_count(read_source(c.settings), world(), c.name).has_value(),
                  c.expected);
    }
}

}  // namespace
}  // namespace ruvo::ctl
