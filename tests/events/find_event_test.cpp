#include "events/find_event.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

EventEntry entry(std::string name, std::string xml_field, std::int32_t delay = 0) {
    return {std::move(name), std::move(xml_field), 0, 0, {}, 0, delay, 0};
}

const EventList kList{entry("PowerOn", "PowerOn"), entry("Generic1", "Lamp", 1),
                      entry("Generic2", "Lamp", 2), entry("Generic1", "Other", 3),
                      entry("Two\nLines", "Two\nLines")};

TEST(FindEvent, FindsANormalEventByItsXmlField) {
    struct Case {
        const char* name;
        const EventEntry* expected;
        const char* why;
    };
    const Case cases[] = {
        {"PowerOn", &kList[0], "a built-in event"},
        {"Lamp", &kList[1], "the first of two"},
        {"Other", &kList[3], "the last but one"},
        {"Two\nLines", &kList[4], "a line feed inside"},
        {"Generic1", nullptr, "its own name does not answer"},
        {"poweron", nullptr, "another case"},
        {"PowerOn\n", nullptr, "a line feed behind"},
        {"PowerO", nullptr, "shorter"},
        {"PowerOn2", nullptr, "longer"},
        {"", nullptr, "no name"},
    };
    for (const Case& c : cases) EXPECT_EQ(find_event(kList, c.name, 0), c.expected) << c.why;
}

TEST(FindEvent, FindsATestEventByItsName) {
    struct Case {
        const char* name;
        const EventEntry* expected;
        const char* why;
    };
    const Case cases[] = {
        {"PowerOn", &kList[0], "a built-in event"},
        {"Generic1", &kList[1], "the first of two"},
        {"Generic2", &kList[2], "by its own name"},
        {"Lamp", nullptr, "its xmlField does not answer"},
        {"generic1", nullptr, "another case"},
    };
    for (const Case& c : cases) EXPECT_EQ(find_event(kList, c.name, 1), c.expected) << c.why;
}

TEST(FindEvent, TakesEveryFlagButZeroForATest) {
    EXPECT_EQ(find_event(kList, "Generic2", -1), &kList[2]);
}

TEST(FindEvent, ComparesBeyondAZeroByte) {
    const EventList list{entry("A", "A\0B"s)};
    EXPECT_EQ(find_event(list, "A", 0), nullptr);
    EXPECT_EQ(find_event(list, "A\0B"s, 0), &list[0]);
}

TEST(FindEvent, FindsNothingInAnEmptyList) { EXPECT_EQ(find_event({}, "PowerOn", 0), nullptr); }

}  // namespace
}  // namespace ruvo
