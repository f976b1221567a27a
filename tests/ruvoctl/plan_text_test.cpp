#include "ruvoctl/plan/plan_text.h"

#include "ruvoctl/output/hex_dump.h"
#include "ruvoctl/plan/local_time_text.h"
#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/plan/plan_words.h"
#include "ruvoctl/status_report.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

World world() {
    World given;
    given.local_time = *parse_local_time("2026-11-21 03:18:38");
    return given;
}

std::string text_of(const Plan& plan, ColorChoice color = ColorChoice::kNever) {
    return plan_text(plan, "ruvo.txt", Style(color, stdout));
}

TEST(PlanText, TellsAllOfAnEvent) {
    const Plan plan = plan_event(
        read_source("LampCount=7\nLampXMLfield=Light\nLampDelay=1\n"
                    "LampProtocol0=UDP\nLampIP0=10.1.2.3\nLampPort0=5000\nLampDelay0=250\n"
                    "LampData0=504F574552204F4E207B7B74696D657D7D7B7B6E6F7D7D0D\n"
                    "LampProtocol1=TCP\nLampIP1=projector.local\nLampPort1=4352x\n"
                    "LampData1=4F4E00" +
                    "0D\n"s +
                    "LampProtocol2=udp\nLampIP2=10.1.2.3\n"
                    "LampProtocol3=TCPStatus\nLampIP3=10.1.2.9\nLampPort3=80\nLampData3=41\n"
                    "LampProtocol4=UDP\nLampIP4=255.255.255.255\nLampPort4=80\n"
                    "LampProtocol6=TCP\n"),
        world(), "Light");
    EXPECT_EQ(text_of(plan),
              R"(Lamp (triggered as "Light"): starts 1000 to 1250 ms after the trigger
  line 1, delay 1 s, 7 steps
  step 0    1250 to 1500 ms  UDP to 10.1.2.3:5000
      0000  50 4F 57 45 52 20 4F 4E  20 30 33 3A 31 38 3A 33  POWER ON 03:18:3
      0010  38 0D                                             8\r
      {{time}} = "03:18:38" (the clock)
      {{no}}: no built-in: vanishes unless the device reports an item of this name; give --status
      the bytes are those without such items
  step 1    1000 to 1250 ms  TCP to 0.0.0.0:4352
      "projector.local" is no address: 0.0.0.0 is this very device
      the port "4352x" counts as 4352
      4F 4E  ON
      the zero byte at 2 ends the data: 2 bytes lost
  step 2    LOST: the protocol "udp" holds neither UDP nor TCP in capitals
  step 3    1000 to 1250 ms  status report by TCP to 10.1.2.9:80
      configured protocol "TCPStatus"
      the service's report at that moment (--status FILE gives one)
      its data (1 byte) does not leave: the report goes in its place
  step 4    LOST: the system refuses 255.255.255.255:80 by UDP
      it would be UDP to 255.255.255.255:80
  step 5    LOST: it has no protocol
  step 6    1000 to 1250 ms  TCP to 0.0.0.0:0
      it has no address: 0.0.0.0 is this very device
      it has no port: that counts as 0
      no data: a connection without a byte

1 event, 7 steps: 4 sent, 0 skipped, 3 lost
)");
}

TEST(PlanText, TellsWhyAnEventDoesNotRun) {
    const SettingsSource source = read_source(
        "ACount=1\nADelay=60\nBCount=2\nBXMLfield=A\nCCount=1\nCXMLfield=a=b\nDCount=1\n");
    World given = world();
    EXPECT_EQ(text_of(plan_all(source, given)),
              R"(A: not run, an event that waits 60 s or more is dropped as too old
  line 1, delay 60 s, 1 step

B (triggered as "A"): not run, its trigger name finds the event "A"
  line 3, delay 0 s, 2 steps

C (triggered as "a=b"): not run, no client can send the trigger name "a=b"
  line 5, delay 0 s, 1 step

D: starts 0 to 350 ms after the trigger
  line 7, delay 0 s, 1 step
  step 0    LOST: it has no protocol

4 events, 5 steps: 0 sent, 0 skipped, 5 lost
)");
    given.switch_position = SwitchPosition::kOffWhenTriggered;
    EXPECT_EQ(text_of(plan_event(source, given, "D")),
              R"(D: not run, events are switched off when it is triggered
  line 7, delay 0 s, 1 step

1 event, 1 step: 0 sent, 1 skipped, 0 lost
)");
}

TEST(PlanText, TellsWhyAStepIsSkipped) {
    const SettingsSource source = read_source(
        "DVIConnectedCount=1\nDVIConnectedProtocol0=UDP\nDVIConnectedIP0=10.1.2.3\n"
        "DVIConnectedPort0=5000\n");
    World given = world();
    given.uptime_s = 60;
    EXPECT_EQ(text_of(plan_all(source, given)),
              R"(DVIConnected: starts 0 to 350 ms after the trigger
  line 1, delay 0 s, 1 step
  step 0    skipped: display events are skipped until the device is up for more than 120 s
      it would be UDP to 10.1.2.3:5000

1 event, 1 step: 0 sent, 1 skipped, 0 lost
)");
    given.uptime_s = 3600;
    given.switch_position = SwitchPosition::kOffBeforeRun;
    EXPECT_NE(text_of(plan_all(source, given))
                  .find("  step 0    skipped: events are switched off when it runs\n"),
              std::string::npos);
}

TEST(PlanText, ShowsTheReportOfAStatusVariant) {
    World given = world();
    given.status = status_report("a:1\nb:2\n");
    const Plan plan =
        plan_all(read_source("ECount=1\nEProtocol0=UDPStatus\nEIP0=10.1.2.3\nEPort0=9\n"), given);
    EXPECT_NE(text_of(plan).find("  step 0    0 to 350 ms  status report by UDP to 10.1.2.3:9\n"
                                 "      configured protocol \"UDPStatus\"\n"
                                 "      61 3A 31 0D 62 3A 32 0D  a:1\\rb:2\\r\n"
                                 "      what one receive returns of the report: a long one may be "
                                 "cut\n"),
              std::string::npos)
        << text_of(plan);
}

TEST(PlanText, TellsWhatDataOverTheLimitLoses) {
    std::string hex;
    for (int i = 0; i < 105; ++i) hex += "41";
    const Plan plan = plan_all(
        read_source("ECount=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=9\nEData0=" + hex + "00\n"),
        world());
    EXPECT_NE(text_of(plan).find("      the zero byte at 105 ends the data: 1 byte lost\n"
                                 "      only the first 103 of 105 bytes leave: 2 bytes lost\n"),
              std::string::npos)
        << text_of(plan);
}

TEST(PlanText, AMacroIsUnknownOnlyToAReport) {
    const SettingsSource source =
        read_source("ECount=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=9\nEData0=417B7B6E6F7D7D\n");
    World given = world();
    given.status = status_report("a:\nb:\nc:\nd:\ne:\nf:\n");
    const std::string text = text_of(plan_all(source, given));
    EXPECT_NE(text.find("      41  A\n      {{no}} = \"\" (unknown: it vanishes)\n\n"),
              std::string::npos)
        << text;
}

TEST(PlanText, ALineEndBehindAValueIsNoNews) {
    struct Case {
        const char* data;
        bool noted;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"4142\r", false, "a carriage return"}, {"4142 \r", false, "and a blank"},
        {"4142  \r", false, "and two"},         {"414200\r", true, "a zero byte of its own"},
        {"41  42\r", true, "blanks within"},    {"410042\r", true, "a zero byte within"},
    };
    for (const Case& c : kCases) {
        const std::string text = text_of(plan_all(
            read_source("ECount=1\r\nEProtocol0=UDP\r\nEIP0=10.1.2.3\nEPort0=5000 \r\nEData0=" +
                        std::string(c.data) + "\n"),
            world()));
        EXPECT_EQ(text.find("zero byte") != std::string::npos, c.noted) << c.why << text;
        EXPECT_EQ(text.find("counts as"), std::string::npos) << text;
        EXPECT_EQ(text.find("configured protocol"), std::string::npos) << text;
    }
}

TEST(PlanText, ZerosWrittenAsAnAddressAreThisDeviceToo) {
    const Plan plan =
        plan_all(read_source("ECount=1\nEProtocol0=UDP\nEIP0=0.0.0.0\nEPort0=9\n"), world());
    EXPECT_NE(text_of(plan).find("      0.0.0.0 is this very device\n"), std::string::npos);
}

TEST(PlanText, TellsWhenTheEndOfThePowerOnWindowIsTooNear) {
    World given = world();
    given.uptime_s = 119;
    const std::string text = text_of(plan_all(read_source("DVIConnectedCount=1\n"), given));
    EXPECT_NE(text.find("  line 1, delay 0 s, 1 step\n"
                        "  not certain: it runs within 2 s of the end of the power-on window, and "
                        "the daemon measures the uptime once a second\n"),
              std::string::npos)
        << text;
}

TEST(PlanText, NamesTheEarlierEventOfTheSameName) {
    World given = world();
    const SettingsSource twice = read_source("ECount=1\nECount=2\n");
    EXPECT_NE(text_of(plan_all(twice, given))
                  .find("E: not run, an earlier event of this name (line 1) is found in its "
                        "place\n  line 2"),
              std::string::npos);
    given.test = true;
    const std::string text =
        text_of(plan_all(read_source("ECount=1\nEXMLfield=a\nECount=2\n"), given));
    EXPECT_NE(text.find("E: not run, an earlier event of this name (line 1) is found in its place"),
              std::string::npos)
        << text;
}

TEST(PlanText, ATestRunSpeaksOfNames) {
    World given = world();
    given.test = true;
    const std::string name(1100, 'x');
    const std::string text =
        text_of(plan_all(read_source(name + "Count=1\n" + name + "XMLfield=a\n"), given));
    EXPECT_NE(text.find("x: not run, no test command can hold its name\n"), std::string::npos);
}

TEST(PlanText, TellsOfAnEmptyDatagram) {
    const Plan plan =
        plan_all(read_source("ECount=1\nEProtocol0=UDP\nEIP0=10.1.2.3\nEPort0=9\n"), world());
    EXPECT_NE(text_of(plan).find("      no data: an empty datagram\n"), std::string::npos);
}

TEST(PlanText, TellsOfAVoidFile) {
    EXPECT_EQ(text_of(plan_all(read_source("ECount=1\nEData[0]=1\n"), world())),
              R"(ruvo.txt:2:6: the whole file takes no effect
  "[0]" behind EData stands where an index is expected and is no number
  the daemon keeps the events it had before; after a start it has none

0 events, 0 steps: 0 sent, 0 skipped, 0 lost
)");
}

TEST(PlanText, TellsWhatAClientGets) {
    struct Case {
        const char* bytes;
        const char* expected;
    };
    constexpr Case kCases[] = {
        {"a\n\n",
         "Request \"a\\n\\n\" (3 bytes)\n"
         "  looked up 2 times, as a whole each time\n"
         "  trigger \"a\\n\\n\"\n"
         "  reply \"a\\n\\n\"\n"
         "\n"
         "0 events, 0 steps: 0 sent, 0 skipped, 0 lost\n"},
        {"__SET__:x",
         "Request \"__SET__:x\" (9 bytes)\n"
         "  a command: it triggers no event of these settings\n"
         "\n"
         "0 events, 0 steps: 0 sent, 0 skipped, 0 lost\n"},
        {"",
         "Request \"\" (0 bytes)\n"
         "  no bytes: no request, no reply\n"
         "\n"
         "0 events, 0 steps: 0 sent, 0 skipped, 0 lost\n"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(text_of(plan_request(read_source(""), world(), c.bytes)), c.expected);
    }
}

TEST(PlanText, ATriggerWhileTheSwitchIsOffIsNotLookedUp) {
    World given = world();
    given.switch_position = SwitchPosition::kOffWhenTriggered;
    EXPECT_EQ(plan_preface(plan_request(read_source(""), given, "a"), "f",
                           Style(ColorChoice::kNever, stdout)),
              "Request \"a\" (1 byte)\n"
              "  events are switched off: it is not looked up\n"
              "  trigger \"a\\n\"\n"
              "  reply \"Event Disabled, skip a\"\n"
              "\n");
}

TEST(PlanText, NothingOfAFileReachesTheTerminalRaw) {
    const std::string text = text_of(
        plan_all(read_source("\x1B[2JCount=2\n\x1B[2JXMLfield=\x07\n\x1B[2JProtocol0=\x9B"
                             "UDP\n"
                             "\x1B[2JIP0=\x1B\n\x1B[2JPort0=\x1B\n\x1B[2JData0=1B7B7B1B7D7D\n"
                             "\x1B[2JProtocol1=\x1B\n"),
                 world()));
    for (const char byte : text) {
        EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte <= '~')) << text;
    }
    const Plan voided = plan_all(read_source("\x1B"
                                             "Count=1\n\x1B"
                                             "IP\x1B=1\n"),
                                 world());
    EXPECT_EQ(text_of(voided).find('\x1B'), std::string::npos);
}

TEST(PlanText, ColourIsForWhoWantsIt) {
    const Plan plan = plan_all(read_source("ECount=1\n"), world());
    EXPECT_EQ(text_of(plan).find('\x1B'), std::string::npos);
    EXPECT_NE(text_of(plan, ColorChoice::kAlways).find('\x1B'), std::string::npos);
}

TEST(HexDump, HasSixteenBytesALine) {
    EXPECT_EQ(hex_dump("", "  "), "");
    EXPECT_EQ(hex_dump("A\n", "  "), "  41 0A  A\\n\n");
    EXPECT_EQ(hex_dump("0123456789ABCDEF", ""),
              "30 31 32 33 34 35 36 37  38 39 41 42 43 44 45 46  0123456789ABCDEF\n");
    EXPECT_EQ(hex_dump("0123456789ABCDEF\\", ">"),
              ">0000  30 31 32 33 34 35 36 37  38 39 41 42 43 44 45 46  0123456789ABCDEF\n"
              ">0010  5C                                                \\\\\n");
}

TEST(MsText, HasADecimalOnlyWhereItSaysSomething) {
    using namespace std::chrono_literals;
    EXPECT_EQ(ms_text(0ms), "0");
    EXPECT_EQ(ms_text(1250ms), "1250");
    EXPECT_EQ(ms_text(500100us), "500.1");
}

}  // namespace
}  // namespace ruvo::ctl
