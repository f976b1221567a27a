// What voids a whole file, and what nearly does.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

std::string power_on_and(const std::string& more) {
    return OneStep{.name = "PowerOn", .more = more};
}

const std::vector<std::string> kVoid = {"the whole file takes no effect", "keeps the events it has",
                                        "none at start-up"};

TEST(CheckFatal, AnIndexThatDoesNotBeginWithANumber) {
    expect_cases({
        {"a field of one's own", power_on_and("PowerOnIPv4=10.1.2.3\n"),
         "6:10 fatal index-not-a-number PowerOn", kVoid},
        {"brackets", power_on_and("PowerOnData[0]=41\n"), "6:12 fatal index-not-a-number PowerOn",
         kVoid},
        {"a field that takes no index", power_on_and("PowerOnCountX=1\n"),
         "6:13 fatal index-not-a-number PowerOn", kVoid},
        {"another one", power_on_and("PowerOnXMLfieldX=Start\n"),
         "6:16 fatal index-not-a-number PowerOn", kVoid},
        {"a plural", power_on_and("PowerOnPorts0=5000\n"), "6:12 fatal index-not-a-number PowerOn",
         kVoid},
        {"a longer word", power_on_and("PowerOnIPAddress0=10.1.2.3\n"),
         "6:10 fatal index-not-a-number PowerOn", kVoid},
        {"a sign without a number", power_on_and("PowerOnPort-=5000\n"),
         "6:12 fatal index-not-a-number PowerOn", kVoid},
        {"the line before the Count", "PowerOnPortX=5000\n" + power_on_and(""),
         "1:12 fatal index-not-a-number PowerOn", kVoid},
        {"an unread value", power_on_and("PowerOnIPv4=\n"), "6:10 fatal index-not-a-number PowerOn",
         kVoid},
        {"a digit in another script", power_on_and("PowerOnPort\xD9\xA0=5000\n"),
         "6:12 fatal index-not-a-number PowerOn", kVoid},
    });
}

TEST(CheckFatal, AllOfThemAreNamed) {
    EXPECT_EQ(problems(power_on_and("PowerOnIPv4=1\nPowerOnPorts0=2\nPowerOnDelay =3\n")),
              "6:10 fatal index-not-a-number PowerOn; 7:12 fatal index-not-a-number PowerOn; "
              "8:13 fatal blank-before-equals PowerOn");
}

TEST(CheckFatal, AnIndexBeyondTheRange) {
    expect_cases({
        {"beyond 64 bits", good_and("BeamerPort18446744073709551616=5000\n"),
         "6:11 fatal index-out-of-range Beamer", kVoid},
        {"far beyond", good_and("BeamerDelay99999999999999999999=5\n"),
         "6:12 fatal index-out-of-range Beamer", kVoid},
        {"its negative", good_and("BeamerPort-18446744073709551616=5000\n"),
         "6:11 fatal index-out-of-range Beamer", kVoid},
    });
    CheckOptions narrow;
    narrow.word = WordSize::k32;
    expect_cases({{"beyond 32 bits", good_and("BeamerPort4294967296=5000\n"),
                   "6:11 fatal index-out-of-range Beamer", kVoid}},
                 narrow);
}

TEST(CheckFatal, ABlankBeforeTheEqualsSign) {
    expect_cases({
        {"behind the event's delay", power_on_and("PowerOnDelay =1\n"),
         "6:13 fatal blank-before-equals PowerOn", kVoid},
        {"behind an XMLfield", good_and("BeamerXMLfield =Lamp\n"),
         "6:15 fatal blank-before-equals Beamer", kVoid},
        {"behind a second Count", good_and("BeamerCount =1\n"),
         "6:12 fatal blank-before-equals Beamer", kVoid},
        {"behind a field without its index", good_and("BeamerData =41\n"),
         "6:11 fatal blank-before-equals Beamer", kVoid},
        {"a tab", good_and("BeamerDelay\t=1\n"), "6:12 fatal blank-before-equals Beamer", kVoid},
        {"in what was meant as a comment", "#BeamerCount=1\n" + good_and("#BeamerDelay =5\n"),
         "1:1 warning comment-is-setting #Beamer; 7:13 fatal blank-before-equals #Beamer", kVoid},
    });
}

TEST(CheckFatal, AFieldWordInsideAnEventName) {
    expect_cases({
        {"the shorter name is an event", std::string(OneStep{.name = "HDM"}) + "HDMIPort0=5000\n",
         "6:6 fatal field-word-voids HDM", kVoid},
        {"and so with its Data", std::string(OneStep{.name = "HDM"}) + "HDMIPlugData0=41\n",
         "6:6 fatal field-word-voids HDM", kVoid},
    });
}

// What else is wrong with the line hides nothing.
TEST(CheckFatal, IsSaidBesideALoneCarriageReturn) {
    EXPECT_EQ(problems(good_and("BeamerPorts0=1\rx=2\n")),
              "6:11 fatal index-not-a-number Beamer; 6:15 error cr-line-ends Beamer");
    EXPECT_EQ(
        check_settings(read_source(good_and("BeamerPorts0=1\rx=2\n")), {}).summary.sends_as_written,
        0U);
}

TEST(CheckFatal, NearMissesTakeEffect) {
    expect_cases({
        {"a blank before the index, no key twice",
         "BeamerCount=1\nBeamerIP 0=10.1.2.3\nBeamerPort 0=5000\nBeamerProtocol\t0=UDP\n"
         "BeamerData  0=4F4E\nBeamerDelay 0=0\n"},
        {"a blank behind the index", good_and("BeamerDelay0 =5\n")},
        {"leading zeros",
         "BeamerCount=1\nBeamerIP00=10.1.2.3\nBeamerPort000=5000\nBeamerProtocol00=UDP\n"
         "BeamerData0000=4F4E\n"},
        {"text behind the number", good_and("BeamerDelay0ms=5\n")},
        {"a plus", good_and("BeamerDelay+0=5\n")},
        {"an XMLfield of the longer name",
         std::string(OneStep{.name = "HDM"}) + "HDMXMLfield=HDMI\n"},
        {"no Count, so no event: a lone unknown word", good_and("ProjectorNote=1\n")},
        {"a comment without an equals sign", good_and("#BeamerDelay : 5\n")},
    });
}

TEST(CheckFatal, WhatNamesNoEventIsNotFatal) {
    const std::vector<std::string> lines = {"PowerOnIPv4=1\n",
                                            "PowerOnData[0]=1\n",
                                            "PowerOnCountX=1\n",
                                            "PowerOnDelay =1\n",
                                            "HDMIPort0=5000\n",
                                            "#BeamerDelay =5\n",
                                            "PowerOnPort99999999999999999999=1\n"};
    for (const std::string& line : lines) {
        EXPECT_EQ(problems(good_and(line)).find("fatal"), std::string::npos) << line;
    }
    const std::string off = OneStep{.name = "PowerOn", .count = "0", .more = "PowerOnIPv4=1\n"};
    EXPECT_EQ(problems(off).find("fatal"), std::string::npos) << "an event that is switched off";
}

}  // namespace
}  // namespace ruvo::ctl
