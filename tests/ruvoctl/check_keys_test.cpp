// Keys that do not belong where their author meant them to.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

TEST(CheckKeys, AFieldWithoutItsIndex) {
    for (const std::string field : {"Protocol", "IP", "Port", "Data"}) {
        SCOPED_TRACE(field);
        const std::string text = good_and("Beamer" + field + "=5\n");
        EXPECT_EQ(problems(text), "6:1 error missing-index Beamer");
    }
    expect_cases({
        {"the likeliest mistake",
         "PowerOnCount=1\nPowerOnIP0=10.1.2.3\nPowerOnPort0=5000\nPowerOnProtocol0=UDP\n"
         "PowerOnData=4F4E\n",
         "5:1 error missing-index PowerOn.0",
         {"PowerOnData", "nothing reads it"}},
        {"in every line, and no Count",
         "WallIP=10.1.2.3\nWallPort=5000\nWallProtocol=UDP\nWallData=4F4E\n",
         "1:1 error missing-index Wall.0; 2:1 error missing-index Wall.0; "
         "3:1 error missing-index Wall.0; 4:1 error missing-index Wall.0"},
        {"one line that may be another program's", good_and("WallPort=5000\n")},
        {"of the step of the lines around it",
         "BeamerCount=3\n" + step_lines(0) +
             "BeamerIP1=10.1.2.3\nBeamerPort1=5000\n"
             "BeamerProtocol1=UDP\nBeamerData=41\nBeamerIP2=10.1.2.3\nBeamerPort2=5000\n"
             "BeamerProtocol2=UDP\nBeamerData=42\n",
         "9:1 error missing-index Beamer.1; 13:1 error missing-index Beamer.2"},
        {"of the only step that lacks it, the lines being in another order",
         "BeamerCount=2\nBeamerIP0=10.1.2.3\nBeamerIP1=10.1.2.4\nBeamerData0=41\n"
         "BeamerData1=42\nBeamerPort=5000\nBeamerProtocol0=UDP\nBeamerProtocol1=UDP\n"
         "BeamerPort0=5001\n",
         "6:1 error missing-index Beamer.1"},
        {"an event's delay has none", good_and("BeamerDelay=1\n")},
        {"nor its XMLfield", good_and("BeamerXMLfield=Lamp\n")},
    });
}

TEST(CheckKeys, AStepThatHasItsLineIsNotSaidToLackIt) {
    const std::string words = words_of(good_and("BeamerData=41\n"));
    EXPECT_EQ(words.find("lacks"), std::string::npos) << words;
}

TEST(CheckKeys, AFieldWordInsideAnEventName) {
    expect_cases({
        {"Port inside, which an event's Count is not",
         "DisplayPortOnCount=1\nDisplayPortOnData0=41\n",
         "2:8 error field-in-name DisplayPortOn.0",
         {"\"Display\"", "DisplayPortOn", "XMLfield"}},
        {"IP inside",
         good_and("HDMIPort0=5000\n"),
         "6:4 error field-in-name HDMI",
         {"\"HDM\"", "Port of \"HDMI\" is lost", "XMLfield"}},
        {"the remedy",
         std::string(OneStep{.name = "Screen", .more = "ScreenXMLfield=DisplayPortOn\n"})},
        {"lower case is no field word", std::string(OneStep{.name = "Displayport"})},
        {"another letter between",
         std::string(OneStep{.name = "HDMI"}).substr(0, 0) + std::string(OneStep{.name = "HDMi"})},
    });
}

TEST(CheckKeys, AFieldWordAtTheBeginning) {
    expect_cases({
        {"Count twice",
         good_and("CountdownCount=1\n"),
         "6:1 error field-at-beginning Countdown",
         {"CountdownCount", "no field", "lost"}},
        {"Data twice",
         good_and("DataWallData0=41\n"),
         "6:1 error field-at-beginning DataWall",
         {"DataWallData0", "no field", "lost"}},
        {"another field behind it is found",
         "DataWallCount=1\nDataWallIP0=10.1.2.3\nDataWallPort0=5000\nDataWallProtocol0="
         "UDPStatus\n"},
        {"the setting of the default file", good_and("DataEncode=HEX\n")},
    });
}

TEST(CheckKeys, AnIndexThatNoStepHas) {
    expect_cases({
        {"at the Count",
         good_and("BeamerPort1=5000\n"),
         "6:1 error index-beyond-count Beamer.1",
         {"nothing reads"}},
        {"beyond it",
         good_and("BeamerPort7=5000\n"),
         "6:1 error index-beyond-count Beamer.7",
         {"nothing reads"}},
        {"a delay, too", good_and("BeamerDelay1=5\n"), "6:1 error index-beyond-count Beamer.1"},
        {"below it", OneStep{.count = "2", .more = step_lines(1)}},
        {"of no event at all", good_and("Room1=5\n")},
    });
}

TEST(CheckKeys, AnIndexBeyond128) {
    std::string text = "BeamerCount=128\n";
    for (int step = 0; step < 128; ++step) text += step_lines(step);
    EXPECT_EQ(problems(text), "");
    EXPECT_EQ(problems(text + "BeamerDelay128=5\n"), "514:1 error index-beyond-count Beamer.128");
}

TEST(CheckKeys, ANegativeIndex) {
    const std::string text = good_and("BeamerPort-1=5000\n");
    EXPECT_NE(problems(text).find("6:1 error index-negative Beamer"), std::string::npos)
        << problems(text);
    EXPECT_EQ(problems(good_and("BeamerDelay-0=5\n")), "") << "minus 0 is 0";
}

TEST(CheckKeys, AnIndexThatWrapsAround) {
    CheckOptions wide;
    wide.word = WordSize::k64;
    expect_cases(
        {
            {"to step 0",
             good_and("BeamerDelay4294967296=5\n"),
             "6:1 error index-wrapped Beamer.0",
             {"step 0"}},
            {"to step 0 from below", good_and("BeamerDelay-4294967296=5\n"),
             "6:1 error index-wrapped Beamer.0"},
            {"zeros do not wrap", good_and("BeamerDelay0000000000000000000000000=5\n")},
        },
        wide);
}

TEST(CheckKeys, AnEventsFieldWithAnIndex) {
    expect_cases({
        {"XMLfield0",
         good_and("BeamerXMLfield0=Lamp\n"),
         "6:1 error event-field-index Beamer",
         {"XMLfield", "no index"}},
        {"Count0", good_and("BeamerCount0=1\n"), "6:1 error event-field-index Beamer", {"Count"}},
        {"XMLfield", good_and("BeamerXMLfield=Lamp\n")},
        {"of no event", good_and("RoomXMLfield=Lamp\n")},
    });
}

TEST(CheckKeys, ABlankThatLosesTheLine) {
    expect_cases({
        {"before the name", good_and(" BeamerDelay0=5\n"), "6:1 error blank-in-key Beamer"},
        {"a tab before the name", good_and("\tBeamerDelay0=5\n"), "6:1 error blank-in-key Beamer"},
        {"before the field", good_and("Beamer Delay0=5\n"), "6:7 error blank-in-key Beamer"},
        {"in a Count, with steps of the name without it", "Beamer Count=1\n" + step_lines(0),
         "1:7 error blank-in-key Beamer"},
        {"before the index it is harmless", good_and("BeamerDelay 0=5\n")},
        {"an event with a blank in all of its keys", OneStep{.name = "My Beamer"}},
        {"a line of blanks", good_and("   \n\t\n")},
    });
}

TEST(CheckKeys, DuplicateKeysTheLastWins) {
    expect_cases({
        {"a step's",
         good_and("BeamerPort0=5001\n"),
         "3:1 warning duplicate-key Beamer.0",
         {"last one wins"}},
        {"an event's",
         good_and("BeamerDelay=1\nBeamerDelay=2\n"),
         "6:1 warning duplicate-key Beamer",
         {"last one wins"}},
        {"one step by two spellings", good_and("BeamerPort 0=5001\n"),
         "3:1 warning duplicate-key Beamer.0"},
        {"an event's and a step's delay", good_and("BeamerDelay=1\nBeamerDelay0=1\n")},
        {"another step", OneStep{.count = "2", .more = step_lines(1)}},
        {"another case", std::string(OneStep{}) + std::string(OneStep{.name = "BEAMER"})},
    });
}

TEST(CheckKeys, AnUnknownKeyNearAKnownOne) {
    expect_cases({
        {"a letter is missing",
         good_and("BeamerProtocl0=UDP\n"),
         "6:1 warning unknown-key",
         {"BeamerProtocol0"}},
        {"lower case", good_and("Beamerdelay0=5\n"), "6:1 warning unknown-key", {"BeamerDelay0"}},
        {"of the default settings",
         good_and("EnableEvent=true\n"),
         "6:1 warning unknown-key",
         {"EnableEvents"}},
        {"nothing like it", good_and("Room=Hall\n")},
        {"known ones", good_and("EnableEvents=true\nFastCableDetectEvents=false\n")},
    });
}

TEST(CheckKeys, ACommentThatIsASetting) {
    expect_cases({
        {"it makes an event",
         good_and("#LampCount=1\n"),
         "6:1 warning comment-is-setting #Lamp",
         {"setting"}},
        {"behind a semicolon", good_and(";LampCount=1\n"), "6:1 warning comment-is-setting ;Lamp"},
        {"behind slashes", good_and("//LampCount=1\n"), "6:1 warning comment-is-setting //Lamp"},
        {"without an equals sign", good_and("# LampCount: 1\n")},
        {"a rule", good_and("# ---- Lamp ----\n")},
    });
}

// A comment with "=" is stored like every setting; that it means nothing today is no reason
// to keep quiet: one Count of its name makes it void the file.
TEST(CheckKeys, ACommentThatIsASettingOfNothing) {
    for (const std::string line : {"#BeamerDelay =5\n", "#BeamerPort0=5001\n", "# Lamp=1\n"}) {
        EXPECT_NE(problems(good_and(line)).find("6:1 warning comment-is-setting"),
                  std::string::npos)
            << line << problems(good_and(line));
    }
}

TEST(CheckKeys, GenericEventsCount) {
    expect_cases({
        {"above 0",
         good_and("GenericEventsCount=1\n"),
         "6:1 warning generic-events-count GenericEvents",
         {"GenericEvents"}},
        {"0", good_and("GenericEventsCount=0\n")},
    });
}

TEST(CheckKeys, WhatNothingReadsIsInformation) {
    EXPECT_EQ(information(good_and("Room=Hall\n")),
              "6:1 information unread-key; 6:1 information no-effect");
    EXPECT_EQ(information(good_and("Room: Hall\n")), "");
    EXPECT_EQ(information(good_and("EnableEvents=true\n")), "");
}

TEST(CheckKeys, TheShareOfLinesWithoutEffectIsInformation) {
    const std::string text = good_and("Room=Hall\nFloor=2\n# comment\n\n");
    const CheckResult result = check_settings(read_source(text), {});
    EXPECT_EQ(result.summary.lines_without_effect, 2U);
    EXPECT_NE(words_of(text).find("no-effect: 2 of " + std::to_string(result.summary.lines)),
              std::string::npos)
        << words_of(text);
    EXPECT_NE(information(OneStep{.count = "0"}).find("no-effect"), std::string::npos)
        << "also when no line has one";
}

}  // namespace
}  // namespace ruvo::ctl
