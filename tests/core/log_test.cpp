#include "core/log.h"

#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace ruvo {
namespace {

class OutputTest : public testing::Test {
    test::FreshProcessState process_state_;
};

TEST_F(OutputTest, DebugLineIsSilentWithoutTheFlag) {
    EXPECT_EQ(test::output_of([] { debug_line("[%s:%d]\n", "main", 1); }), "");
}

TEST_F(OutputTest, DebugLineSpeaksWhileTheFlagIsSet) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { debug_line("[%s:%d] ip=%s\n", "main", 1931, "192.0.2.10"); }),
              "[main:1931] ip=192.0.2.10\n");
    g_debug_flag = 0;
    EXPECT_EQ(test::output_of([] { debug_line("[%s:%d]\n", "main", 1); }), "");
}

TEST_F(OutputTest, PrintLineSpeaksWhateverTheFlagsSay) {
    g_log_level = 0;
    EXPECT_EQ(test::output_of([] { print_line("disable event, skip %s\n", "AB"); }),
              "disable event, skip AB\n");
}

TEST_F(OutputTest, AddsNothingToAMessageWithoutALineFeed) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] {
                  print_line("a%d", 1);
                  debug_line("b%d", 2);
              }),
              "a1b2");
}

TEST_F(OutputTest, WritesALongMessageWhole) {
    const std::string text = test::repeated(100000, 'x');
    EXPECT_EQ(test::output_of([&] { print_line("%s\n", text.c_str()); }), text + "\n");
}

TEST_F(OutputTest, WritesAMessageOfEveryLengthWhole) {
    for (std::size_t length = 500; length < 530; ++length) {
        const std::string text = test::repeated(length, 'x');
        EXPECT_EQ(test::output_of([&] { print_line("%s", text.c_str()); }), text) << length;
    }
}

TEST_F(OutputTest, LeavesErrnoAlone) {
    g_debug_flag = 1;
    (void)test::output_of([] {
        errno = EADDRINUSE;
        debug_line("one\n");
        print_line("two\n");
        EXPECT_EQ(errno, EADDRINUSE);
    });
}

TEST(ErrorText, IsTheSystemsText) {
    EXPECT_STREQ(error_text(ECONNREFUSED), "Connection refused");
    EXPECT_STREQ(error_text(EAGAIN), "Resource temporarily unavailable");
}

}  // namespace
}  // namespace ruvo
