// The names by which events are found.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

std::string lamp(const std::string& more) { return OneStep{.name = "Lamp", .more = more}; }

TEST(CheckTriggers, TwoEventsOfOneTriggerName) {
    expect_cases({
        {"an XMLfield that is a name",
         good_and(lamp("LampXMLfield=Beamer\n")),
         "11:14 error duplicate-trigger Lamp",
         {"never runs"}},
        {"two XMLfields",
         good_and("BeamerXMLfield=Go\n" + lamp("LampXMLfield=Go\n")),
         "12:14 error duplicate-trigger Lamp",
         {"never runs"}},
        {"another case", good_and("BeamerXMLfield=Go\n" + lamp("LampXMLfield=GO\n"))},
        {"names that differ", good_and(lamp(""))},
    });
}

TEST(CheckTriggers, ATestRunLooksForNames) {
    CheckOptions test;
    test.test = true;
    EXPECT_EQ(problems(good_and("BeamerXMLfield=Go\n" + lamp("LampXMLfield=Go\n")), test), "");
    EXPECT_EQ(problems(good_and("BeamerXMLfield=\n"), test), "");
}

TEST(CheckTriggers, AnXmlFieldThatADelayOverwrites) {
    const std::string name[] = {"PowerOn", "DVIConnected", "DVIDisconnected"};
    for (const std::string& event : name) {
        SCOPED_TRACE(event);
        const std::string field = event + "XMLfield=Start\n";
        const std::string delay = event + "Delay=1\n";
        const std::string found = "6:1 error xmlfield-overwritten " + event;
        EXPECT_EQ(problems(OneStep{.name = event, .more = field + delay}), found);
        EXPECT_EQ(
            problems(OneStep{.name = event, .more = delay + field}),
            "7:" + std::to_string(event.size() + 10) + " warning built-in-redirected " + event);
    }
    expect_cases({
        {"another event", good_and("BeamerXMLfield=Start\nBeamerDelay=1\n")},
        {"a step's delay",
         OneStep{.name = "PowerOn", .more = "PowerOnXMLfield=PowerOn\nPowerOnDelay0=1\n"}},
    });
}

TEST(CheckTriggers, NamesThatCannotBeSent) {
    const std::string long_name(1024, 'a');
    expect_cases({
        {"an equals sign",
         good_and("BeamerXMLfield=lamp=on\n"),
         "6:16 error trigger-unsendable Beamer",
         {"no trigger can run the event"}},
        {"two leading underscores",
         good_and("BeamerXMLfield=__TEST__\n"),
         "6:16 error trigger-unsendable Beamer",
         {"command"}},
        {"an event's own name",
         OneStep{.name = "__Beamer"},
         "1:1 error trigger-unsendable __Beamer",
         {"command"}},
        {"too long",
         good_and("BeamerXMLfield=" + long_name + "\n"),
         "6:16 error trigger-unsendable Beamer",
         {"1023"}},
        {"as long as a request", good_and("BeamerXMLfield=" + long_name.substr(1) + "\n")},
        {"one underscore", good_and("BeamerXMLfield=_Lamp\n")},
        {"underscores inside", good_and("BeamerXMLfield=a__b\n")},
        {"blanks inside", good_and("BeamerXMLfield=Lamp on\n")},
        {"not ASCII", good_and("BeamerXMLfield=L\xC3\xA4mp\n")},
    });
}

TEST(CheckTriggers, ATestCommandHoldsTheWholeName) {
    const std::string longest(1023 - std::string("__TEST__:").size(), 'a');
    CheckOptions test;
    test.test = true;
    expect_cases({{"too long",
                   OneStep{.name = longest + "a"},
                   "1:1 error trigger-unsendable " + longest + "a",
                   {"a test command cannot hold the name"}},
                  {"just not", OneStep{.name = longest}}},
                 test);
}

TEST(CheckTriggers, ANameWithALineFeedCannotBeSent) {
    // A piece of a long line is the only key or value that could hold one: it cannot.
    EXPECT_EQ(problems(good_and("BeamerXMLfield=\nBeamerDelay=1\n")),
              "6:16 warning empty-xmlfield Beamer");
}

TEST(CheckTriggers, ACarriageReturnInATriggerName) {
    expect_cases({
        {"of a CRLF line",
         good_and("BeamerXMLfield=Lamp\r\n"),
         "6:20 error cr-in-trigger Beamer",
         {"Lamp", "does not run it"}},
        {"of a last line",
         good_and("BeamerXMLfield=Lamp\r"),
         "6:20 error cr-in-trigger Beamer",
         {"Lamp", "does not run it"}},
        {"of a line without a name",
         good_and("BeamerXMLfield=\r\n"),
         "6:16 error cr-in-trigger Beamer",
         {"a trigger \"Beamer\" does not run it"}},
        {"that a Delay undoes",
         OneStep{.name = "PowerOn", .more = "PowerOnXMLfield=PowerOn\r\nPowerOnDelay=1\r\n"}},
        {"behind a Count, a Delay, a Protocol, a Port, a Data",
         OneStep{.count = "1\r",
                 .port = "5000\r",
                 .protocol = "UDP\r",
                 .data = "4F4E0D\r",
                 .more = "BeamerDelay=1\r\nBeamerDelay0=5\r\n"}},
    });
}

TEST(CheckTriggers, AnEmptyXmlField) {
    expect_cases({
        {"empty",
         good_and("BeamerXMLfield=\n"),
         "6:16 warning empty-xmlfield Beamer",
         {"empty request"}},
        {"empty at the end of the file", good_and("BeamerXMLfield="),
         "6:16 warning empty-xmlfield Beamer"},
        {"one character", good_and("BeamerXMLfield=B\n")},
    });
}

TEST(CheckTriggers, ABlankAtTheEnd) {
    expect_cases({
        {"blank", good_and("BeamerXMLfield=Lamp \n"), "6:20 warning blank-end-trigger Beamer"},
        {"tab", good_and("BeamerXMLfield=Lamp\t\n"), "6:20 warning blank-end-trigger Beamer"},
        {"inside", good_and("BeamerXMLfield=Lamp on\n")},
    });
}

TEST(CheckTriggers, AnotherEventsName) {
    expect_cases({
        {"which answers to another",
         good_and("BeamerXMLfield=Lamp\n" + lamp("LampXMLfield=Light\n")),
         "6:16 warning trigger-is-other-event Beamer",
         {"Lamp"}},
        {"its own name", good_and("BeamerXMLfield=Beamer\n")},
        {"no event's name", good_and("BeamerXMLfield=Lamps\n" + lamp("LampXMLfield=Light\n"))},
    });
}

TEST(CheckTriggers, ABuiltInEventTakenFromItsTrigger) {
    expect_cases({
        {"PowerOn", OneStep{.name = "PowerOn", .more = "PowerOnXMLfield=Start\n"},
         "6:17 warning built-in-redirected PowerOn"},
        {"DVIConnected", OneStep{.name = "DVIConnected", .more = "DVIConnectedXMLfield=Start\n"},
         "6:22 warning built-in-redirected DVIConnected"},
        {"its own name", OneStep{.name = "PowerOn", .more = "PowerOnXMLfield=PowerOn\n"}},
        {"another event", good_and("BeamerXMLfield=Start\n")},
    });
}

TEST(CheckTriggers, ABuiltInNameInAnotherCase) {
    expect_cases({
        {"lower case",
         OneStep{.name = "poweron"},
         "1:1 warning built-in-case poweron",
         {"PowerOn"}},
        {"Dvi",
         OneStep{.name = "DviConnected"},
         "1:1 warning built-in-case DviConnected",
         {"DVIConnected"}},
        {"its own case", OneStep{.name = "DVIDisconnected"}},
        {"another name", OneStep{.name = "PowerOff"}},
    });
}

}  // namespace
}  // namespace ruvo::ctl
