#include "events/build_event_list.h"

#include "tests/support/word_size.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ruvo {
namespace {

using test::by_long;
using Delays = std::vector<std::int64_t>;

// An event-level record of the event E.
EventDefinition of_event(const char* field, const char* value) {
    return {kFieldKey, "E", field, "", value};
}

// A record of one of its steps.
EventDefinition of_step(const char* field, const char* index, const char* value) {
    return {kIndexedKey, "E", field, index, value};
}

// The event E with as many steps as the count says, filled by further records.
EventEntry event_of(const char* count, std::initializer_list<EventDefinition> records) {
    EventDefinitions definitions{of_event("Count", count)};
    definitions.insert(definitions.end(), records.begin(), records.end());
    const EventList list = build_event_list(definitions);
    return list.size() == 1 ? list.front() : EventEntry{};
}

Delays delays_from_exec(const EventEntry& entry) {
    Delays delays;
    for (const SubCommand& step : entry.subCommands) delays.push_back(step.delayFromExecNs);
    return delays;
}

TEST(BuildEventList, IsEmptyWithoutRecords) { EXPECT_TRUE(build_event_list({}).empty()); }

TEST(BuildEventList, IsEmptyWithoutACount) {
    EXPECT_TRUE(build_event_list({of_event("Delay", "1"), of_step("IP", "0", "1.2.3.4")}).empty());
}

TEST(BuildEventList, MakesAsManyStepsAsTheCountSays) {
    struct Case {
        const char* count;
        std::size_t steps;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"1", 1, "the smallest"},
        {"128", 128, "the largest"},
        {"129", 128, "capped"},
        {"300", 128, "capped"},
        {"2147483647", 128, "capped"},
        {"3abc", 3, "the number that it begins with"},
        {" 2", 2, "a leading blank"},
        {"+2", 2, "a plus sign"},
        {"2\r", 2, "the carriage return of a CRLF file"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(event_of(c.count, {}).subCommands.size(), c.steps) << c.why;
    }
}

TEST(BuildEventList, ReadsACountAtTheWidthOfLongAndKeepsTheLow32Bits) {
    struct Case {
        const char* count;
        std::int64_t steps;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"2147483648", by_long(0, 128), "negative in 32 bits"},
        {"4294967296", by_long(0, 128), "zero in 32 bits"},
        {"4294967298", by_long(2, 128), "the low 32 bits"},
        {"-4294967295", by_long(1, 0), "the low 32 bits of a negative number"},
        {"99999999999999999999", by_long(0, 128), "the largest long: -1 in 32 bits"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(event_of(c.count, {}).subCommands.size(), static_cast<std::size_t>(c.steps))
            << c.why;
    }
}

TEST(BuildEventList, MakesNoEntryForACountBelowOne) {
    struct Case {
        const char* count;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"0", "as in the default file"},
        {"-1", "negative"},
        {"abc", "no number"},
        {"", "no value"},
        {"x3", "no number to begin with"},
    };
    for (const Case& c : kCases) {
        EXPECT_TRUE(build_event_list({of_event("Count", c.count)}).empty()) << c.why;
    }
}

TEST(BuildEventList, IgnoresEveryOtherRecordOfADisabledEvent) {
    EXPECT_TRUE(build_event_list({of_event("Count", "0"), of_event("Delay", "1"),
                                  of_step("IP", "0", "1.2.3.4"), of_step("Data", "x", "41")})
                    .empty());
}

TEST(BuildEventList, StartsAnEntryWithItsNameAndNothingElse) {
    const EventEntry expected{"E", "E", 0, 0, {SubCommand{}, SubCommand{}}, 0, 0, 0};
    EXPECT_EQ(event_of("2", {}), expected);
}

TEST(BuildEventList, TakesACountOnlyFromAKeyThatEndsWithIt) {
    EXPECT_TRUE(build_event_list({{kIndexedKey, "E", "Count", "1", "3"}}).empty());
    EXPECT_TRUE(build_event_list({{kPlainKey, "Count", "", "", "3"}}).empty());
    EXPECT_TRUE(build_event_list({of_event("count", "3"), of_event("Counts", "3")}).empty());
}

TEST(BuildEventList, KeepsTheOrderOfTheCounts) {
    const EventList list = build_event_list({{kFieldKey, "B", "Count", "", "1"},
                                             {kFieldKey, "A", "Count", "", "1"},
                                             {kFieldKey, "C", "Count", "", "1"}});
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].name, "B");
    EXPECT_EQ(list[1].name, "A");
    EXPECT_EQ(list[2].name, "C");
}

TEST(BuildEventList, MakesTwoEntriesForTwoCountsAndFillsBoth) {
    const EventList list =
        build_event_list({of_event("Count", "1"), of_event("Count", "2"),
                          of_step("IP", "0", "1.2.3.4"), of_step("Port", "1", "9")});
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].subCommands, (std::vector<SubCommand>{{"1.2.3.4", "", "", "", 0, 0}}));
    EXPECT_EQ(list[1].subCommands,
              (std::vector<SubCommand>{{"1.2.3.4", "", "", "", 0, 0}, {"", "9", "", "", 0, 0}}));
}

TEST(BuildEventList, FillsEntriesOfOneNameAsFarAsTheirStepsReach) {
    const EventList list = build_event_list({of_event("Count", "1"),
                                             of_event("Count", "3"),
                                             of_event("Count", "2"),
                                             {kFieldKey, "F", "Count", "", "2"},
                                             of_event("XMLfield", "Lamp"),
                                             of_event("Delay", "7"),
                                             of_step("Data", "2", "43"),
                                             of_step("Delay", "0", "100"),
                                             of_step("Delay", "1", "200"),
                                             of_step("Delay", "2", "300")});
    const SubCommand first{"", "", "", "", 100'000'000, 100'000'000};
    const SubCommand second{"", "", "", "", 200'000'000, 300'000'000};
    const SubCommand third{"", "", "", "C", 300'000'000, 600'000'000};
    ASSERT_EQ(list.size(), 4U);
    for (const std::size_t i : {0U, 1U, 2U}) {
        EXPECT_EQ(list[i].name, "E");
        EXPECT_EQ(list[i].xmlField, "Lamp");
        EXPECT_EQ(list[i].delay, 7);
    }
    EXPECT_EQ(list[0].subCommands, (std::vector<SubCommand>{first}));
    EXPECT_EQ(list[1].subCommands, (std::vector<SubCommand>{first, second, third}));
    EXPECT_EQ(list[2].subCommands, (std::vector<SubCommand>{first, second}));
    EXPECT_EQ(list[3].name, "F");
    EXPECT_EQ(list[3].xmlField, "F");
    EXPECT_EQ(list[3].subCommands, std::vector<SubCommand>(2));
}

TEST(BuildEventList, FindsRecordsThatComeBeforeTheirCount) {
    const EventList list =
        build_event_list({of_step("IP", "0", "1.2.3.4"), of_event("Count", "1")});
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].subCommands[0].ip, "1.2.3.4");
}

TEST(BuildEventList, FillsEveryPropertyOfAStep) {
    const EventEntry entry =
        event_of("1", {of_step("IP", "0", " 1.2.3.4 "), of_step("Port", "0", "99999"),
                       of_step("Protocol", "0", "StatusTCP"), of_step("Data", "0", "410042"),
                       of_step("Delay", "0", "250")});
    const SubCommand expected{" 1.2.3.4 ", "99999",    "StatusTCP", std::string("A\0B", 3),
                              250'000'000, 250'000'000};
    EXPECT_EQ(entry.subCommands, (std::vector<SubCommand>{expected}));
}

TEST(BuildEventList, KeepsTheValueGivenLast) {
    const EventEntry entry =
        event_of("1", {of_step("IP", "0", "1.1.1.1"), of_step("IP", "0", "2.2.2.2")});
    EXPECT_EQ(entry.subCommands[0].ip, "2.2.2.2");
}

TEST(BuildEventList, MatchesNamesByteForByte) {
    const EventDefinition other_names[] = {
        {kIndexedKey, "e", "IP", "0", "1.2.3.4"},
        {kIndexedKey, "E ", "IP", "0", "1.2.3.4"},
        {kIndexedKey, "EE", "IP", "0", "1.2.3.4"},
        {kIndexedKey, "", "IP", "0", "1.2.3.4"},
    };
    for (const EventDefinition& definition : other_names) {
        EXPECT_EQ(event_of("1", {definition}).subCommands[0].ip, "") << definition.name;
    }
}

TEST(BuildEventList, FillsEachEventFromItsOwnRecords) {
    const EventList list = build_event_list({{kFieldKey, "A", "Count", "", "1"},
                                             {kFieldKey, "B", "Count", "", "1"},
                                             {kIndexedKey, "A", "IP", "0", "1.1.1.1"},
                                             {kIndexedKey, "B", "IP", "0", "2.2.2.2"},
                                             {kIndexedKey, "C", "IP", "0", "3.3.3.3"},
                                             {kIndexedKey, "A", "Port", "0", "1"},
                                             {kIndexedKey, "C", "Port", "0", "3"},
                                             {kIndexedKey, "B", "Port", "0", "2"}});
    const EventList expected{{"A", "A", 0, 0, {{"1.1.1.1", "1", "", "", 0, 0}}, 0, 0, 0},
                             {"B", "B", 0, 0, {{"2.2.2.2", "2", "", "", 0, 0}}, 0, 0, 0}};
    EXPECT_EQ(list, expected);
}

TEST(BuildEventList, KnowsNoNameOfTheDefaultTextButTheBuiltInEvents) {
    const EventList list = build_event_list({{kPlainKey, "EnableEvents", "", "", "true"},
                                             {kPlainKey, "FastCableDetectEvents", "", "", "true"},
                                             {kFieldKey, "GenericEvents", "Count", "", "2"},
                                             {kPlainKey, "DataEncode", "", "", "HEX"}});
    const EventList expected{
        {"GenericEvents", "GenericEvents", 0, 0, {SubCommand{}, SubCommand{}}, 0, 0, 0}};
    EXPECT_EQ(list, expected);
}

TEST(BuildEventList, ReadsTheIndexAsTheLibraryDoes) {
    struct Case {
        const char* index;
        int step;  // of two; -1 for none
        const char* why;
    };
    constexpr Case kCases[] = {
        {"0", 0, "the first"},
        {"1", 1, "the last"},
        {"2", -1, "at the count"},
        {"128", -1, "beyond every count"},
        {"01", 1, "a leading zero"},
        {" 1", 1, "a leading blank"},
        {"\t\r 1", 1, "leading blanks of several kinds"},
        {"00000000000000000000000000000001", 1, "many leading zeros"},
        {"+1", 1, "a plus sign"},
        {"1x", 1, "trailing text"},
        {"1 2", 1, "trailing text"},
        {"0x1", 0, "base 10 ends at the x"},
        {"-1", -1, "wraps around to the largest number"},
        {"4294967295", -1, "the largest 32-bit number"},
        {"-4294967295", 1, "a sign and the low 32 bits"},
    };
    for (const Case& c : kCases) {
        const EventEntry entry = event_of("2", {of_step("Port", c.index, "9")});
        ASSERT_EQ(entry.subCommands.size(), 2U);
        EXPECT_EQ(entry.subCommands[0].port, c.step == 0 ? "9" : "") << c.why;
        EXPECT_EQ(entry.subCommands[1].port, c.step == 1 ? "9" : "") << c.why;
    }
}

// The step's port behind a record with this index, or the text of what it throws.
std::string port_of_step_1(const char* index) {
    try {
        return event_of("2", {of_step("Port", index, "9")}).subCommands[1].port;
    } catch (const std::out_of_range& error) {
        return error.what();
    }
}

TEST(BuildEventList, ReadsTheIndexAtTheWidthOfLongAndKeepsTheLow32Bits) {
    constexpr bool kWide = sizeof(long) == 8;
    EXPECT_EQ(port_of_step_1("4294967296"), kWide ? "" : "stoul") << "0 in 32 bits";
    EXPECT_EQ(port_of_step_1("4294967297"), kWide ? "9" : "stoul") << "1 in 32 bits";
    EXPECT_EQ(port_of_step_1("18446744073709551615"), kWide ? "" : "stoul") << "-1 in 32 bits";
}

TEST(BuildEventList, IgnoresAnIndexAtTheCapOfSubCommands) {
    const EventEntry entry =
        event_of("300", {of_step("Port", "127", "1"), of_step("Port", "128", "2")});
    ASSERT_EQ(entry.subCommands.size(), 128U);
    EXPECT_EQ(entry.subCommands[127].port, "1");
}

TEST(BuildEventList, ThrowsForAnIndexThatIsNoNumber) {
    struct Case {
        const char* field;
        const char* index;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"IP", "x", "no digits"},
        {"Data", " ", "a blank alone"},
        {"Delay", "-", "a sign alone"},
        {"Delay", "+-1", "two signs"},
        {"Delay", "- 1", "a blank behind the sign"},
        {"Port", "", "no index at all"},
        {"Count", "X", "the index is read before the field is looked at"},
        {"XMLfield", "X", "the index is read before the field is looked at"},
    };
    for (const Case& c : kCases) {
        try {
            (void)build_event_list({of_event("Count", "1"), of_step(c.field, c.index, "1")});
            ADD_FAILURE() << "nothing thrown: " << c.why;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), "stoul") << c.why;
        }
    }
}

TEST(BuildEventList, ThrowsForAnIndexOutOfRange) {
    for (const char* index : {"18446744073709551616", "-18446744073709551616"}) {
        try {
            (void)build_event_list({of_event("Count", "1"), of_step("IP", index, "1")});
            ADD_FAILURE() << "nothing thrown: " << index;
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(), "stoul") << index;
        }
    }
}

TEST(BuildEventList, DoesNotReadTheIndexOfAnEventWithoutAnEntry) {
    EXPECT_EQ(
        build_event_list({{kFieldKey, "A", "Count", "", "1"}, of_step("IP", "x", "1")}).size(), 1U);
}

TEST(BuildEventList, ReadsTheEventsDelayInSeconds) {
    struct Case {
        const char* value;
        std::int64_t delay;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"0", 0, "none"},
        {"5", 5, "seconds"},
        {"-5", -5, "negative"},
        {"2s", 2, "the number that it begins with"},
        {"abc", 0, "no number"},
        {"", 0, "no value"},
        {"2147483648", by_long(INT_MIN, INT_MAX), "the low 32 bits"},
        {"99999999999", by_long(1215752191, INT_MAX), "the low 32 bits"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(event_of("1", {of_event("Delay", c.value)}).delay, c.delay) << c.why;
    }
}

TEST(BuildEventList, ReadsAStepsDelayInMilliseconds) {
    struct Case {
        const char* value;
        std::int64_t ns;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"0", 0, "none"},
        {"1", 1'000'000, "a millisecond"},
        {"-250", -250'000'000, "negative"},
        {"100ms", 100'000'000, "the number that it begins with"},
        {"abc", 0, "no number"},
        {"2147483647", 2'147'483'647'000'000, "the largest needs more than 32 bits"},
        {"2147483648", by_long(-2'147'483'648'000'000, 2'147'483'647'000'000),
         "the low 32 bits before they become nanoseconds"},
        {"4294967297", by_long(1'000'000, 2'147'483'647'000'000), "the low 32 bits"},
    };
    for (const Case& c : kCases) {
        const EventEntry entry = event_of("1", {of_step("Delay", "0", c.value)});
        EXPECT_EQ(entry.subCommands[0].delayNs, c.ns) << c.why;
        EXPECT_EQ(entry.subCommands[0].delayFromExecNs, c.ns) << c.why;
    }
}

// Delays 100, 200 and 300 ms at the indices 0, 1 and 2, listed in every order.
TEST(BuildEventList, AddsTheNeighboursDelayAsItStandsAtThatMoment) {
    const EventDefinition d0 = of_step("Delay", "0", "100");
    const EventDefinition d1 = of_step("Delay", "1", "200");
    const EventDefinition d2 = of_step("Delay", "2", "300");
    struct Case {
        std::initializer_list<EventDefinition> order;
        Delays expected;
        const char* why;
    };
    const Case cases[] = {
        {{d0, d1, d2}, {100'000'000, 300'000'000, 600'000'000}, "rising: all add up"},
        {{d2, d1, d0}, {100'000'000, 200'000'000, 300'000'000}, "falling: none adds up"},
        {{d0, d2, d1}, {100'000'000, 300'000'000, 300'000'000}, "2 before 1"},
        {{d1, d0, d2}, {100'000'000, 200'000'000, 500'000'000}, "1 before 0"},
        {{d1, d2, d0}, {100'000'000, 200'000'000, 500'000'000}, "0 last"},
        {{d2, d0, d1}, {100'000'000, 300'000'000, 300'000'000}, "2 first"},
        {{d0, d2}, {100'000'000, 0, 300'000'000}, "a step without a delay breaks the chain"},
        {{d0, d1, d0, d2},
         {100'000'000, 300'000'000, 600'000'000},
         "a delay given twice counts once"},
        {{d0, d1, d1}, {100'000'000, 300'000'000, 0}, "here too"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(delays_from_exec(event_of("3", c.order)), c.expected) << c.why;
}

TEST(BuildEventList, KeepsAStepsOwnDelayBesideTheSum) {
    const EventEntry entry =
        event_of("2", {of_step("Delay", "0", "100"), of_step("Delay", "1", "200")});
    EXPECT_EQ(entry.subCommands[1].delayNs, 200'000'000);
    EXPECT_EQ(entry.subCommands[1].delayFromExecNs, 300'000'000);
}

TEST(BuildEventList, AddsNegativeDelaysLikeAnyOther) {
    EXPECT_EQ(delays_from_exec(
                  event_of("2", {of_step("Delay", "0", "500"), of_step("Delay", "1", "-200")})),
              (Delays{500'000'000, 300'000'000}));
}

TEST(BuildEventList, TellsTheListenerOfEveryStepDelay) {
    std::vector<std::pair<std::int32_t, std::int64_t>> told;
    (void)build_event_list(
        {of_event("Count", "2"), of_step("Delay", "0", "100"), of_event("Delay", "7"),
         of_step("Delay", "1", "200"), of_step("Delay", "2", "300")},
        [&](std::int32_t index, std::int64_t ns) { told.emplace_back(index, ns); });
    const std::vector<std::pair<std::int32_t, std::int64_t>> expected{{0, 100'000'000},
                                                                      {1, 300'000'000}};
    EXPECT_EQ(told, expected);
}

TEST(BuildEventList, TellsTheListenerOfTheDelayOfEveryEntryThatHasTheStep) {
    std::vector<std::int32_t> told;
    (void)build_event_list({of_event("Count", "1"), of_event("Count", "3"), of_event("Count", "2"),
                            of_step("Delay", "2", "1"), of_step("Delay", "1", "1"),
                            of_step("Delay", "0", "1"), of_step("Delay", "3", "1")},
                           [&](std::int32_t index, std::int64_t) { told.push_back(index); });
    EXPECT_EQ(told, (std::vector<std::int32_t>{2, 1, 1, 0, 0, 0}));
}

// Each of a hundred thousand entries gets each of a hundred thousand records: only a
// builder whose time is not their product comes to an end here.
TEST(BuildEventList, HasRoomForAsManyEntriesOfOneNameAsAFileHas) {
    constexpr std::size_t kMany = 100'000;
    EventDefinitions definitions(kMany, of_event("Count", "1"));
    definitions.resize(2 * kMany, of_step("IP", "0", "1.2.3.4"));
    const EventList list = build_event_list(definitions);
    ASSERT_EQ(list.size(), kMany);
    EXPECT_EQ(list.front(), list.back());
    EXPECT_EQ(list.back().subCommands[0].ip, "1.2.3.4");
}

// The xmlField of an event after its records in the given order.
std::string xml_field_of(
    const char* name,
    std::initializer_list<std::pair<const char*, const char*>> fields_and_values) {
    EventDefinitions definitions{{kFieldKey, name, "Count", "", "1"}};
    for (const auto& [field, value] : fields_and_values) {
        definitions.push_back({kFieldKey, name, field, "", value});
    }
    return build_event_list(definitions).front().xmlField;
}

TEST(BuildEventList, ADelayRestoresTheNameOfABuiltInEvent) {
    for (const char* name : {"PowerOn", "DVIConnected", "DVIDisconnected"}) {
        EXPECT_EQ(xml_field_of(name, {{"XMLfield", "Lamp"}}), "Lamp");
        EXPECT_EQ(xml_field_of(name, {{"XMLfield", "Lamp"}, {"Delay", "1"}}), name);
        EXPECT_EQ(xml_field_of(name, {{"Delay", "1"}, {"XMLfield", "Lamp"}}), "Lamp");
        EXPECT_EQ(xml_field_of(name, {{"XMLfield", "A"}, {"Delay", "abc"}, {"XMLfield", "B"}}),
                  "B");
    }
}

TEST(BuildEventList, AnXmlFieldIsAnyText) {
    for (const char* text : {"", " Lamp ", "A;B", "Lamp\r", "PowerOn"}) {
        EXPECT_EQ(xml_field_of("Lamp", {{"XMLfield", "x"}, {"XMLfield", text}}), text);
    }
}

TEST(BuildEventList, ADelayLeavesTheXmlFieldOfAGenericEvent) {
    for (const char* name : {"Lamp", "poweron", "PowerOn2", "DVI"}) {
        EXPECT_EQ(xml_field_of(name, {{"XMLfield", "L"}, {"Delay", "1"}}), "L") << name;
        EXPECT_EQ(xml_field_of(name, {{"Delay", "1"}, {"XMLfield", "L"}}), "L") << name;
    }
}

TEST(BuildEventList, ADelayWithAnIndexLeavesTheXmlField) {
    const EventList list = build_event_list({{kFieldKey, "PowerOn", "Count", "", "1"},
                                             {kFieldKey, "PowerOn", "XMLfield", "", "Lamp"},
                                             {kIndexedKey, "PowerOn", "Delay", "0", "1"}});
    EXPECT_EQ(list.front().xmlField, "Lamp");
}

TEST(BuildEventList, PassesOverFieldsThatFitNothing) {
    const EventEntry untouched = event_of("1", {});
    const EventDefinition misplaced[] = {
        of_event("IP", "1.2.3.4"),        of_event("Port", "9"),
        of_event("Protocol", "UDP"),      of_event("Data", "41"),
        of_step("XMLfield", "0", "Lamp"), of_step("Count", "0", "5"),
        {kPlainKey, "E", "", "", "x"},    of_event("xmlfield", "Lamp"),
        of_event("DELAY", "5"),           of_step("ip", "0", "1.2.3.4"),
        of_step("PORT", "0", "9"),        of_step("protocol", "0", "UDP"),
        of_step("DATA", "0", "41"),       of_step("delay", "0", "5"),
    };
    for (const EventDefinition& definition : misplaced) {
        EXPECT_EQ(event_of("1", {definition}), untouched) << definition.field;
    }
}

}  // namespace
}  // namespace ruvo
