#include "execution/due_times.h"

#include <gtest/gtest.h>

#include <vector>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using DueTimes = std::vector<std::chrono::nanoseconds>;

DueTimes due_times_of(std::initializer_list<std::chrono::nanoseconds> delays_from_exec) {
    std::vector<SubCommand> steps;
    for (const auto delay : delays_from_exec) {
        SubCommand step;
        step.delayNs = 77;  // the step's own delay does not matter
        step.delayFromExecNs = delay.count();
        steps.push_back(step);
    }
    return due_times(steps);
}

TEST(DueTimes, AreTheDelaysFromTheStartOfTheExecution) {
    EXPECT_EQ(due_times_of({}), (DueTimes{}));
    EXPECT_EQ(due_times_of({100ms}), (DueTimes{100ms}));
    EXPECT_EQ(due_times_of({100ms, 300ms, 600ms}), (DueTimes{100ms, 300ms, 600ms}));
    EXPECT_EQ(due_times_of({300ms, 100ms}), (DueTimes{300ms, 100ms}));
}

TEST(DueTimes, SpaceStepsThatAreDueTogether) {
    EXPECT_EQ(due_times_of({500ms, 500ms, 500ms}), (DueTimes{500ms, 500'100us, 500'200us}));
}

TEST(DueTimes, SpaceEachGroupForItself) {
    EXPECT_EQ(due_times_of({10ms, 10ms, 20ms, 20ms}), (DueTimes{10ms, 10'100us, 20ms, 20'100us}));
}

TEST(DueTimes, SpaceStepsThatAreDueTogetherButNotNeighbours) {
    EXPECT_EQ(due_times_of({500ms, 300ms, 500ms}), (DueTimes{500ms, 300ms, 500'100us}));
}

TEST(DueTimes, OfNothingToWaitForAreAtOnce) {
    EXPECT_EQ(due_times_of({0ms, 0ms, 0ms}), (DueTimes{0ms, 0ms, 0ms}));
    for (const auto due : due_times_of({-5ms, -5ms, -1ns})) EXPECT_LE(due, 0ns);
}

TEST(DueTimes, KeepTheOrderOfAFullEvent) {
    std::vector<SubCommand> steps(128);
    for (SubCommand& step : steps) step.delayFromExecNs = 1;
    const DueTimes due = due_times(steps);
    ASSERT_EQ(due.size(), 128U);
    for (std::size_t i = 1; i < due.size(); ++i) EXPECT_EQ(due[i] - due[i - 1], 100us);
}

TEST(StepBefore, IsTheLastOneThatIsDueAtTheSameLaterTime) {
    std::vector<SubCommand> steps(8);
    const std::int64_t delays[] = {5, 0, 7, 5, 0, 5, -1, -1};
    for (std::size_t i = 0; i < steps.size(); ++i) steps[i].delayFromExecNs = delays[i];
    std::vector<int> before;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const auto step = step_before(steps, i);
        before.push_back(step ? static_cast<int>(*step) : -1);
    }
    EXPECT_EQ(before, (std::vector<int>{-1, -1, -1, 0, -1, 3, -1, -1}));
}

}  // namespace
}  // namespace ruvo
