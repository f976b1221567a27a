// Good settings: nothing is found that is not there.

#include "settings/settings_text.h"
#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

const StatusVariables kItems = {{"model", "AV-100"},  {"input", "HDMI1"}, {"power", "on"},
                                {"volume", "42"},     {"mute", "off"},    {"serial", "0042"},
                                {"temperature", "38"}};

constexpr const char* kLectureHall = R"(# Lecture hall 3
# The projector needs its screen down first.
EnableEvents=true
FastCableDetectEvents=false
PowerOnCount=3
PowerOnDelay=1
PowerOnIP0=192.168.10.20
PowerOnPort0=4352
PowerOnProtocol0=TCP
PowerOnData0=25315057522031300D
PowerOnDelay0=0
PowerOnIP1=192.168.10.21
PowerOnPort1=23
PowerOnProtocol1=TCP
PowerOnData1=53435245454E20444F574E0D0A
PowerOnDelay1=500
PowerOnIP2=239.20.30.40
PowerOnPort2=9000
PowerOnProtocol2=UDP
PowerOnData2=68616C6C2033206F6E
PowerOnDelay2=1500
DVIConnectedCount=1
DVIConnectedDelay=0
DVIConnectedIP0=192.168.10.20
DVIConnectedPort0=4352
DVIConnectedProtocol0=TCP
DVIConnectedData0=2531494E50542033310D
DVIDisconnectedCount=0
DVIDisconnectedDelay=0
GenericEventsCount=0
DataEncode=HEX
)";

constexpr const char* kMacros = R"(BootReportCount=2
BootReportXMLfield=Boot
BootReportIP0=10.0.0.9
BootReportPort0=514
BootReportProtocol0=UDP
BootReportData0=7B7B6D6F64656C7D7D20757020696E207B7B757074696D657D7D5C6E
BootReportIP1=10.0.0.8
BootReportPort1=8080
BootReportProtocol1=TCP
BootReportData1=7B7B54494D457D7D207B7B706F7765727D7D5C725C6E
VolumeCount=1
VolumeIP0=10.0.0.9
VolumePort0=514
VolumeProtocol0=UDP
VolumeData0=766F6C756D65207B7B766F6C756D657D7D
)";

constexpr const char* kStatus = R"(WatchCount=2
WatchXMLfield=Report now
WatchDelay=2
WatchIP0=10.0.0.9
WatchPort0=6000
WatchProtocol0=TCPStatus
WatchIP1=10.0.0.10
WatchPort1=6001
WatchProtocol1=UDPStatus
)";

constexpr const char* kSpellings = R"(ScreenCount= 2
ScreenIP 00=10.0.0.9
ScreenPort 0= 05000
ScreenProtocol00= UDP
ScreenData 0=61620d
ScreenIP01=10.0.0.10
ScreenPort+1=5000
ScreenProtocol 1=UDP
ScreenData01=6162
ScreenDelay 0 =10
ScreenDelay01=20
)";

constexpr const char* kCrlf =
    "# Lobby\r\n\r\nLobbyCount=1\r\nLobbyPort0=5000\r\nLobbyProtocol0=UDP\r\n"
    "LobbyData0=4F4E0D\r\nLobbyDelay=1\r\nLobbyDelay0=20\r\nLobbyIP0=10.0.0.9\n";

TEST(CheckClean, TheDefaultSettings) {
    for (const bool enabled : {true, false}) {
        std::string text;
        for (const std::string& line : default_settings_lines(enabled)) text += line;
        EXPECT_EQ(problems(text), "");
        const CheckResult result = check_settings(read_source(text), {});
        EXPECT_EQ(result.summary.events, 0U);
        EXPECT_EQ(result.summary.sends_planned, 0U);
        EXPECT_EQ(result.summary.lines_without_effect, 0U);
    }
}

TEST(CheckClean, NothingAtAll) {
    EXPECT_EQ(problems(""), "");
    EXPECT_EQ(problems("\n\n# nothing\n"), "");
}

TEST(CheckClean, RealisticFiles) {
    CheckOptions options;
    options.items = &kItems;
    for (const char* text : {kLectureHall, kMacros, kStatus, kSpellings, kCrlf}) {
        EXPECT_EQ(problems(text, options), "") << text;
        const CheckSummary summary = check_settings(read_source(text), options).summary;
        EXPECT_EQ(summary.sends_as_written, summary.sends_planned) << text;
        EXPECT_EQ(summary.lines_without_effect, 0U) << text;
    }
}

TEST(CheckClean, TheSummaryCountsWhatIsThere) {
    const CheckSummary summary = check_settings(read_source(kLectureHall), {}).summary;
    EXPECT_EQ(summary.events, 2U);
    EXPECT_EQ(summary.sends_planned, 4U);
    EXPECT_EQ(summary.sends_as_written, 4U);
    EXPECT_EQ(summary.fatal + summary.errors + summary.warnings, 0U);
}

TEST(CheckSummary, CountsWhatArrivesAsWritten) {
    const std::string text = std::string(OneStep{}) +
                             std::string(OneStep{.name = "Lamp", .protocol = "udp"}) +
                             std::string(OneStep{.name = "Light", .ip = "host"});
    const CheckSummary summary = check_settings(read_source(text), {}).summary;
    EXPECT_EQ(summary.events, 3U);
    EXPECT_EQ(summary.sends_planned, 3U);
    EXPECT_EQ(summary.sends_as_written, 1U);
    EXPECT_EQ(summary.errors, 2U);
}

TEST(CheckSummary, NothingArrivesFromAVoidFile) {
    const CheckSummary summary =
        check_settings(read_source(good_and("BeamerPorts0=1\n")), {}).summary;
    EXPECT_EQ(summary.sends_as_written, 0U);
    EXPECT_EQ(summary.fatal, 1U);
}

// A line that nothing reads takes nothing from the step that has all it needs.
TEST(CheckSummary, AnErrorBesideAStepIsNotOneOfIt) {
    for (const std::string line : {"BeamerData=41\n", "BeamerPort7=1\n", " BeamerPort0=1\n",
                                   "BeamerXMLfield0=Lamp\n", "BeamerDelay7=1\n"}) {
        const CheckSummary summary = check_settings(read_source(good_and(line)), {}).summary;
        EXPECT_EQ(summary.sends_as_written, 1U) << line;
    }
}

// An event that was meant as a comment sends no more than any other.
TEST(CheckSummary, TheStepsOfACommentedEventAreCheckedToo) {
    for (const OneStep& step :
         {OneStep{.name = "#Beamer", .data = "0x41"}, OneStep{.name = "#Beamer", .ip = "host"},
          OneStep{.name = "#Beamer", .protocol = "udp"}}) {
        const CheckSummary summary = check_settings(read_source(step), {}).summary;
        EXPECT_EQ(summary.sends_as_written, 0U) << std::string(step);
    }
}

TEST(CheckSummary, AnEventThatNeverRunsSendsNothing) {
    for (const std::string line :
         {"BeamerDelay=60\n", "BeamerXMLfield=__a\n", "BeamerXMLfield=Lamp\r\n"}) {
        const CheckSummary summary = check_settings(read_source(good_and(line)), {}).summary;
        EXPECT_EQ(summary.sends_as_written, 0U) << line;
    }
}

}  // namespace
}  // namespace ruvo::ctl
