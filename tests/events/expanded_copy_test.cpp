#include "events/expanded_copy.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

const EventEntry kEntry{
    "Generic1",
    "Lamp",
    11,
    12,
    {{"1.2.3.4", "9", "UDP", "{{a}}\\n", 5, 6}, {"5.6.7.8", "{{a}}", "TCP", "B", 7, 8}},
    2,
    3,
    4};

MacroValues values() {
    return {std::make_shared<const StatusVariables>(StatusVariables{{"a", "1"}}), {}, 0};
}

TEST(ExpandedCopy, ExpandsTheDataOfEveryStepAndNothingElse) {
    EventEntry expected = kEntry;
    expected.subCommands[0].data = "1\n";
    EXPECT_EQ(expanded_copy(kEntry, values(), 0), expected);
}

TEST(ExpandedCopy, DropsTheEventsDelayForATestRun) {
    EXPECT_EQ(expanded_copy(kEntry, values(), 0).delay, 3);
    EXPECT_EQ(expanded_copy(kEntry, values(), 1).delay, 0);
    EXPECT_EQ(expanded_copy(kEntry, values(), -1).delay, 0) << "any flag but zero is a test's";
}

TEST(ExpandedCopy, KeepsTheStepsDelaysForATestRun) {
    const EventEntry copy = expanded_copy(kEntry, values(), 1);
    EXPECT_EQ(copy.subCommands[0].delayNs, 5);
    EXPECT_EQ(copy.subCommands[1].delayFromExecNs, 8);
}

TEST(ExpandedCopy, KeepsAnEventWithoutSteps) {
    const EventEntry bare{"E", "E", 0, 0, {}, 0, 0, 0};
    EXPECT_EQ(expanded_copy(bare, values(), 0), bare);
}

}  // namespace
}  // namespace ruvo
