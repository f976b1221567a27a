#include "core/daemon_context.h"

#include "tests/support/world.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

class DaemonContextTest : public test::WorldTest {};

TEST_F(DaemonContextTest, StartsWithNothingButTheAnswersOfTheDevice) {
    set_tool_answer("true\n");
    const DaemonContext context;
    EXPECT_EQ(context.enable, 1U);
    EXPECT_TRUE(context.normalEntries.get()->empty());
    EXPECT_TRUE(context.testEntries.get()->empty());
    EXPECT_TRUE(context.eventList.get()->empty());
    EXPECT_TRUE(context.testEventList.get()->empty());
    EXPECT_TRUE(context.statusVariables.get()->empty());
}

TEST_F(DaemonContextTest, BeginsWithItsLock) {
    const DaemonContext context;
    EXPECT_EQ(static_cast<const void*>(&context.lock), static_cast<const void*>(&context));
}

TEST_F(DaemonContextTest, AsksForTheSwitchOnce) {
    const DaemonContext context;
    EXPECT_EQ(tool_calls(), "get boolean network.ruvo.enable=false\n");
}

TEST_F(DaemonContextTest, StartsDisabledWithoutTheTool) {
    remove_tool();
    testing::internal::CaptureStderr();  // the shell's complaint
    const DaemonContext context;
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(context.enable, 0U);
}

TEST_F(DaemonContextTest, StartsDisabledWhenTheAnswerSaysNothing) {
    set_tool_answer("1\n");
    const DaemonContext context;
    EXPECT_EQ(context.enable, 0U);
}

}  // namespace
}  // namespace ruvo
