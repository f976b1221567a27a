#include "events/status_variables.h"

#include "core/daemon_context.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/status_service.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>

namespace ruvo {
namespace {

constexpr char kText[] = "/tmp/ruvo_var.txt";
const StatusVariables kBefore{{"old", "value"}};

class StatusVariablesTest : public test::DaemonTest {
  protected:
    StatusVariablesTest() { context_.statusVariables.set(kBefore); }

    // The exchange has a tenth of a second, which a busy machine may miss.
    void expect_items(int items) {
        EXPECT_TRUE(test::eventually([&] { return renew_macro_var(context_) == items; })) << items;
    }
};

TEST_F(StatusVariablesTest, SixItemsReplaceTheVariables) {
    test::StatusService service("input:HDMI1\rpower:on\ra:b:c\rx:\rname : value\rinput:again\r");
    expect_items(6);
    const StatusVariables expected{{"input", "HDMI1"}, {"power", "on"},     {"a", "b:c"},
                                   {"x", ""},          {"name ", " value"}, {"input", "again"}};
    EXPECT_EQ(*context_.statusVariables.get(), expected);
    EXPECT_EQ(test::text_of(kText),
              "input=HDMI1\npower=on\na=b:c\nx=\nname = value\ninput=again\n");
}

TEST_F(StatusVariablesTest, FiveItemsKeepTheVariables) {
    test::StatusService service("a:1\rb:2\rc:3\rd:4\re:5\r");
    expect_items(5);
    EXPECT_EQ(*context_.statusVariables.get(), kBefore);
    EXPECT_EQ(test::text_of(kText), "old=value\n");
}

TEST_F(StatusVariablesTest, LinesWithoutAColonDoNotCount) {
    test::StatusService service("a:1\r\rb:2\rnothing\rc:3\rd:4\re:5\r");
    expect_items(5);
    EXPECT_EQ(*context_.statusVariables.get(), kBefore);
}

TEST_F(StatusVariablesTest, ALastItemNeedsNoLineEnd) {
    test::StatusService service("a:1\rb:2\rc:3\rd:4\re:5\rf:6");
    expect_items(6);
    EXPECT_EQ(context_.statusVariables.get()->back().second, "6");
}

TEST_F(StatusVariablesTest, AReplyWithLineFeedsWorksAsWell) {
    test::StatusService service("a:1\nb:2\nc:3\nd:4\ne:5\r\nf:6\n");
    expect_items(6);
    EXPECT_EQ((*context_.statusVariables.get())[4].second, "5");
}

TEST_F(StatusVariablesTest, ALongLineIsSeveralLines) {
    const std::string value = test::repeated(2045, 'v');
    test::StatusService service("n:" + value + "m:1\rb:2\rc:3\rd:4\re:5\r");
    expect_items(6);
    EXPECT_EQ((*context_.statusVariables.get())[0], std::make_pair(std::string("n"), value));
    EXPECT_EQ((*context_.statusVariables.get())[1],
              std::make_pair(std::string("m"), std::string("1")));
}

TEST_F(StatusVariablesTest, AsksWithACarriageReturn) {
    test::StatusService service("a:1\rb:2\rc:3\rd:4\re:5\rf:6\r");
    expect_items(6);
    EXPECT_EQ(service.requests().back(), "getStatus\r");
}

TEST_F(StatusVariablesTest, TheShellReadsTheBackslashesItself) {
    // The pipeline's programs are children of the shell that has the whole command.
    replace_tool("timeout", "tr '\\0' '\\n' < /proc/$PPID/cmdline > /tmp/tools/command\n");
    EXPECT_EQ(renew_macro_var(context_), 0);
    const std::string command = test::text_of("/tmp/tools/command");
    EXPECT_TRUE(
        command.ends_with("\nprintf 'getStatus\\r' | timeout 0.1 nc 127.0.0.1 50001 "
                          "2>/dev/null | tr '\\r' '\\n'\n"))
        << command;
}

TEST_F(StatusVariablesTest, ComplaintsAndTheEndOfTheExchangeDoNotMatter) {
    replace_tool("timeout",
                 "echo complaint >&2\nprintf 'a:1\\rb:2\\rc:3\\rd:4\\re:5\\rf:6\\r'\nexit 124\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(renew_macro_var(context_), 6);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(test::text_of(kText), "a=1\nb=2\nc=3\nd=4\ne=5\nf=6\n");
}

TEST_F(StatusVariablesTest, AMissingServiceKeepsTheVariables) {
    EXPECT_EQ(renew_macro_var(context_), 0);
    EXPECT_EQ(*context_.statusVariables.get(), kBefore);
    EXPECT_EQ(test::text_of(kText), "old=value\n");
}

TEST_F(StatusVariablesTest, ASilentServiceIsGivenUpSoon) {
    const test::TcpListener silent(50001);  // the kernel accepts, nobody answers
    const auto waited = test::duration_of([this] { EXPECT_EQ(renew_macro_var(context_), 0); });
    EXPECT_GE(waited, std::chrono::milliseconds(100));
    EXPECT_LT(waited, test::kDeadline);
    EXPECT_EQ(*context_.statusVariables.get(), kBefore);
}

TEST_F(StatusVariablesTest, ACommandThatCannotBeStartedIsLikeAnEmptyReply) {
    test::StatusService service("a:1\rb:2\rc:3\rd:4\re:5\rf:6\r");
    test::run_refused({SYS_clone, SYS_clone3, SYS_vfork, SYS_fork}, EAGAIN,
                      [this] { EXPECT_EQ(renew_macro_var(context_), 0); });
    EXPECT_EQ(*context_.statusVariables.get(), kBefore);
    EXPECT_EQ(test::text_of(kText), "old=value\n");
}

TEST_F(StatusVariablesTest, ATextThatCannotBeWrittenIsSilent) {
    std::filesystem::create_directory(kText);
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(renew_macro_var(context_), 0); }), "");
    EXPECT_EQ(save_macro_var(context_, kText), -1);
    EXPECT_EQ(log(), "");
}

TEST_F(StatusVariablesTest, ATextThatCannotBeWrittenToItsEndIsNoFailure) {
    EXPECT_EQ(save_macro_var(context_, "/dev/full"), 0);
    EXPECT_EQ(log(), "");
}

TEST_F(StatusVariablesTest, TheTextShowsNamesAndValuesAsTheyAre) {
    const std::string value = test::repeated(100'000, 'v');
    context_.statusVariables.set({{"%s%n", "100%d"}, {"", ""}, {"a=b", "c=d"}, {"long", value}});
    EXPECT_EQ(save_macro_var(context_, kText), 0);
    EXPECT_EQ(test::text_of(kText), "%s%n=100%d\n=\na=b=c=d\nlong=" + value + "\n");
}

TEST_F(StatusVariablesTest, WithoutVariablesTheTextIsEmpty) {
    context_.statusVariables.set({});
    test::write_text(kText, "old\n");
    EXPECT_EQ(save_macro_var(context_, kText), 0);
    EXPECT_TRUE(test::is_file(kText));
    EXPECT_EQ(test::text_of(kText), "");
}

TEST_F(StatusVariablesTest, TellsItsStepsWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { (void)renew_macro_var(context_); }),
              "[renew_macro_var:307]\n[renew_macro_var:327] save /tmp/ruvo_var.txt\n");
    EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace ruvo
