#include "core/command_line.h"

#include "tests/support/process_state.h"

#include <getopt.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvo {
namespace {

class CommandLineTest : public testing::Test {
  protected:
    // What the options write to standard error.
    static std::string parse(std::vector<std::string> words) {
        words.insert(words.begin(), "ruvotcpd");
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        ::optind = 0;  // getopt begins again: a process parses its options only once
        testing::internal::CaptureStderr();
        parse_command_line(static_cast<int>(words.size()), pointers.data());
        return testing::internal::GetCapturedStderr();
    }

  private:
    test::FreshProcessState process_state_;
};

TEST_F(CommandLineTest, ChangesNothingWithoutOptions) {
    EXPECT_EQ(parse({}), "");
    EXPECT_EQ(g_debug_flag, 0);
    EXPECT_EQ(g_log_ready, 0);
    EXPECT_EQ(g_log_level, 3);
}

TEST_F(CommandLineTest, SwitchesTheDebugMessagesOn) {
    EXPECT_EQ(parse({"-d"}), "");
    EXPECT_EQ(g_debug_flag, 1);
    EXPECT_EQ(g_log_ready, 1);
}

TEST_F(CommandLineTest, NamesAnUnknownOptionAndChangesNothing) {
    EXPECT_EQ(parse({"-z"}), "ruvotcpd: invalid option -- 'z'\n");
    EXPECT_EQ(g_debug_flag, 0);
    EXPECT_EQ(g_log_ready, 0);
}

TEST_F(CommandLineTest, ReadsOnBehindAnUnknownOption) {
    EXPECT_EQ(parse({"-z", "-d"}), "ruvotcpd: invalid option -- 'z'\n");
    EXPECT_EQ(g_debug_flag, 1);
}

}  // namespace
}  // namespace ruvo
