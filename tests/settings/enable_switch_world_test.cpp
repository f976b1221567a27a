#include "settings/enable_switch.h"

#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <string>

namespace ruvo {
namespace {

class EnableSwitchTest : public test::DaemonTest {};

TEST_F(EnableSwitchTest, FollowsTheToolsAnswer) {
    struct Case {
        std::string answer;
        std::uint32_t before;
        std::uint32_t after;
        const char* why;
    };
    const Case cases[] = {
        {"true\n", 0, 1, "switched on"},
        {"false\n", 1, 0, "switched off"},
        {"TRUE\n", 0, 1, "any case"},
        {"False\n", 1, 0, "any case"},
        {"trueish\n", 0, 1, "four characters are compared"},
        {"1\n", 0, 0, "says nothing: stays off"},
        {"1\n", 1, 1, "says nothing: stays on"},
        {"", 1, 1, "no output: stays on"},
        {"noise\ntrue\n", 0, 0, "only the first line is read"},
        {"false\ntrue\n", 1, 0, "only the first line is read"},
        {"true" + test::repeated(1000, 'x') + "\n", 0, 1, "a long line counts by its beginning"},
        {test::repeated(127, 'x') + "true\n", 0, 0, "a line ends where the buffer does"},
    };
    for (const Case& c : cases) {
        set_tool_answer(c.answer);
        context_.enable = c.before;
        EXPECT_EQ(renew_enable_event(context_), 0) << c.why;
        EXPECT_EQ(context_.enable, c.after) << c.why;
    }
}

TEST_F(EnableSwitchTest, KeepsItsStateWithoutTheTool) {
    remove_tool();
    testing::internal::CaptureStderr();  // the shell's complaint
    EXPECT_EQ(renew_enable_event(context_), 0);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(context_.enable, 1U);
}

TEST_F(EnableSwitchTest, AsksTheToolForTheSwitch) {
    const std::string before = tool_calls();  // the context's own question
    (void)renew_enable_event(context_);
    EXPECT_EQ(tool_calls(), before + "get boolean network.ruvo.enable=false\n");
}

TEST_F(EnableSwitchTest, TellsItsStateWhileDebugging) {
    g_debug_flag = 1;
    set_tool_answer("true\n");
    EXPECT_EQ(test::output_of([this] { (void)renew_enable_event(context_); }),
              "[renew_enable_event:700] enable event=1\n");
    EXPECT_EQ(log(), "");
}

TEST_F(EnableSwitchTest, TellsItsStateEvenWhenTheToolCannotBeStarted) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] {
                  test::run_refused({SYS_clone, SYS_clone3, SYS_vfork, SYS_fork}, EAGAIN,
                                    [this] { EXPECT_EQ(renew_enable_event(context_), 0); });
              }),
              "[renew_enable_event:700] enable event=1\n");
}

}  // namespace
}  // namespace ruvo
