#include "events/place_record.h"

#include "settings/split_key.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace ruvo {
namespace {

TEST(CreatedSteps, ACountOfOneOrMoreCreatesAnEntryOfAtMost128Steps) {
    struct Case {
        const char* key;
        const char* value;
        std::size_t expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"PowerOnCount", "3", 3, "three steps"},
        {"PowerOnCount", "128", 128, "the most"},
        {"PowerOnCount", "300", 128, "capped"},
        {"PowerOnCount", "0", 0, "switched off"},
        {"PowerOnCount", "-1", 0, "negative"},
        {"PowerOnCount", "abc", 0, "no number"},
        {"PowerOnCount", "3abc", 3, "the number it begins with"},
        {"PowerOnCount0", "3", 0, "a Count has no index"},
        {"PowerOnDelay", "3", 0, "another field"},
        {"Count", "3", 0, "no event name"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(created_steps(split_key(c.key, c.value)), c.expected) << c.why;
    }
}

TEST(PlaceRecord, NamesThePropertyAndTheStep) {
    struct Case {
        const char* key;
        Property property;
        std::uint32_t step;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"EXMLfield", Property::kTrigger, 0, "the trigger name"},
        {"EDelay", Property::kEventDelay, 0, "the event's delay"},
        {"EIP1", Property::kIp, 1, "an address"},
        {"EPort1", Property::kPort, 1, "a port"},
        {"EProtocol1", Property::kProtocol, 1, "a protocol"},
        {"EData0", Property::kData, 0, "data"},
        {"EDelay1", Property::kStepDelay, 1, "a step's delay"},
        {"EData1x", Property::kData, 1, "text behind the number is ignored"},
        {"EData 1", Property::kData, 1, "and so are blanks in front of it"},
        {"EData2", Property::kBeyondCount, 2, "the event has two steps"},
        {"EData-1", Property::kBeyondCount, 4294967295, "a minus sign wraps"},
        {"ECount", Property::kNone, 0, "the count has created the entry"},
        {"EData", Property::kNone, 0, "a step's field without its step"},
        {"EXMLfield0", Property::kNone, 0, "an event's field with an index"},
        {"E", Property::kNone, 0, "no field at all"},
    };
    for (const Case& c : kCases) {
        const Placement placement = place_record(split_key(c.key, ""), 2);
        EXPECT_EQ(placement.property, c.property) << c.key << ": " << c.why;
        EXPECT_EQ(placement.step, c.step) << c.key << ": " << c.why;
    }
}

TEST(PlaceRecord, ThrowsForAnIndexThatIsNoNumberWhateverTheField) {
    for (const char* key : {"EDataX", "ECountX", "EXMLfieldX", "EDelay ", "EPorts0"}) {
        EXPECT_THROW((void)place_record(split_key(key, ""), 2), std::invalid_argument) << key;
    }
}

TEST(PlaceRecord, ThrowsForAnIndexBeyondTheWord) {
    const EventDefinition beyond = split_key("EData4294967296", "");
    EXPECT_EQ(place_record(beyond, 2, WordSize::k64).step, 0U);
    EXPECT_THROW((void)place_record(beyond, 2, WordSize::k32), std::out_of_range);
    EXPECT_THROW((void)place_record(split_key("EData99999999999999999999", ""), 2),
                 std::out_of_range);
}

}  // namespace
}  // namespace ruvo
