#include "settings/split_key.h"

#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

struct Case {
    const char* key;
    std::uint32_t kind;
    const char* name;
    const char* field;
    const char* index;
    const char* why;
};

void expect_split(const Case& c) {
    const EventDefinition expected{c.kind, c.name, c.field, c.index, "value"};
    const EventDefinition split = split_key(c.key, "value");
    EXPECT_EQ(split, expected) << c.key << ": " << c.why << "; got kind " << split.kind
                               << ", name '" << split.name << "', field '" << split.field
                               << "', index '" << split.index << "'";
}

TEST(SplitKey, TakesAKeyWithoutAFieldWordWhole) {
    constexpr Case kCases[] = {
        {"", 0, "", "", "", "the empty key"},
        {"x", 0, "x", "", "", "shorter than every field word"},
        {"EnableEvents", 0, "EnableEvents", "", "", "no field word in it"},
        {"FastCableDetectEvents", 0, "FastCableDetectEvents", "", "", "no field word in it"},
        {"poweroncount", 0, "poweroncount", "", "", "field words are case-sensitive"},
        {"PowerOnCOUNT", 0, "PowerOnCOUNT", "", "", "field words are case-sensitive"},
        {"PowerOnXMLField", 0, "PowerOnXMLField", "", "", "XMLfield has a small f"},
        {"PowerOnCoun", 0, "PowerOnCoun", "", "", "a word cut short"},
    };
    for (const Case& c : kCases) expect_split(c);
}

TEST(SplitKey, FindsEveryFieldWord) {
    constexpr Case kCases[] = {
        {"PowerOnCount", 1, "PowerOn", "Count", "", "first of the vocabulary"},
        {"PowerOnXMLfield", 1, "PowerOn", "XMLfield", "", "second"},
        {"PowerOnProtocol", 1, "PowerOn", "Protocol", "", "third"},
        {"PowerOnDelay", 1, "PowerOn", "Delay", "", "fourth"},
        {"PowerOnIP", 1, "PowerOn", "IP", "", "fifth"},
        {"PowerOnPort", 1, "PowerOn", "Port", "", "sixth"},
        {"PowerOnData", 1, "PowerOn", "Data", "", "seventh"},
        {"GenericEventsCount", 1, "GenericEvents", "Count", "", "of the default file"},
        {"aIP", 1, "a", "IP", "", "a name of one character"},
        {" PowerOnCount", 1, " PowerOn", "Count", "", "a leading blank belongs to the name"},
        {"countCount", 1, "count", "Count", "", "the lower-case word is no field"},
        {"\xC3\x84\xFF"
         "Count",
         1, "\xC3\x84\xFF", "Count", "", "a name of any bytes"},
    };
    for (const Case& c : kCases) expect_split(c);
}

TEST(SplitKey, TakesWhatFollowsTheFieldAsIndex) {
    constexpr Case kCases[] = {
        {"PowerOnData1", 2, "PowerOn", "Data", "1", "one digit"},
        {"DVIConnectedIP2", 2, "DVIConnected", "IP", "2", "one digit"},
        {"PowerOnPort127", 2, "PowerOn", "Port", "127", "three digits"},
        {"PowerOnCountX", 2, "PowerOn", "Count", "X", "the index need not be a number"},
        {"PowerOnCount ", 2, "PowerOn", "Count", " ", "a trailing blank is an index"},
        {"PowerOnDelay0001", 2, "PowerOn", "Delay", "0001", "leading zeros stay"},
    };
    for (const Case& c : kCases) expect_split(c);
}

TEST(SplitKey, PassesOverAFieldWordThatBeginsTheKey) {
    constexpr Case kCases[] = {
        {"Count", 0, "Count", "", "", "the word alone"},
        {"XMLfield", 0, "XMLfield", "", "", "the word alone"},
        {"DataEncode", 0, "DataEncode", "", "", "its only field word stands at the beginning"},
        {"IP1", 0, "IP1", "", "", "an index makes no difference"},
        {"CountCount", 0, "CountCount", "", "", "a second occurrence is never looked at"},
        {"ProtocolPort", 1, "Protocol", "Port", "", "the next word of the list is searched"},
        {"PortalData", 1, "Portal", "Data", "", "Port begins the key, Data does not"},
        {"IPCountIP", 2, "IP", "Count", "IP", "Count comes first in the list"},
        {"DataIP", 1, "Data", "IP", "", "Data begins the key, IP does not"},
    };
    for (const Case& c : kCases) expect_split(c);
}

TEST(SplitKey, FollowsTheOrderOfTheVocabularyNotOfTheKey) {
    constexpr Case kCases[] = {
        {"PowerOnDataCount", 1, "PowerOnData", "Count", "", "Count comes before Data"},
        {"PowerOnCountData", 2, "PowerOn", "Count", "Data", "Count comes before Data, here too"},
        {"MyIPDelay", 1, "MyIP", "Delay", "", "Delay comes before IP"},
        {"HDMIPlugData", 2, "HDM", "IP", "lugData", "IP comes before Data, inside the name"},
        {"HDMIPlugCount", 1, "HDMIPlug", "Count", "", "Count comes before IP"},
        {"HDMIPlugIP", 2, "HDM", "IP", "lugIP", "the first occurrence of IP counts"},
        {"aPortProtocol", 1, "aPort", "Protocol", "", "Protocol comes before Port"},
        {"aCountXMLfield", 2, "a", "Count", "XMLfield", "Count comes before XMLfield"},
        {"aProtocolXMLfield", 1, "aProtocol", "XMLfield", "", "XMLfield comes before Protocol"},
        {"aDelayProtocol", 1, "aDelay", "Protocol", "", "Protocol comes before Delay"},
        {"aPortIP", 1, "aPort", "IP", "", "IP comes before Port"},
        {"aDataPort", 1, "aData", "Port", "", "Port comes before Data"},
        {"aCountCount", 2, "a", "Count", "Count", "the first occurrence splits"},
    };
    for (const Case& c : kCases) expect_split(c);
}

TEST(SplitKey, SplitsAKeyOfAnyLength) {
    const std::string name = test::repeated(100'000, 'P');
    const std::string index = test::repeated(100'000, '0');
    const EventDefinition expected{kIndexedKey, name, "Port", index, "value"};
    EXPECT_EQ(split_key(name + "Port" + index, "value"), expected);
    EXPECT_EQ(split_key(name, "value"), (EventDefinition{kPlainKey, name, "", "", "value"}));
}

TEST(SplitKey, KeepsTheValueAsItIs) {
    for (const std::string value : {"", " 1 ", "3=4", "3\r", "Count"}) {
        EXPECT_EQ(split_key("PowerOnCount", value).value, value);
    }
}

}  // namespace
}  // namespace ruvo
