#include "core/process_setup.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace ruvo {
namespace {

// The set-up is for a whole process: every test has one of its own, whose exit
// status is 0 when the condition holds in it.
#define EXPECT_AFTER_SET_UP(condition)       \
    EXPECT_EXIT(                             \
        {                                    \
            set_up_process();                \
            std::_Exit((condition) ? 0 : 1); \
        },                                   \
        testing::ExitedWithCode(0), "")

bool write_to_a_pipe_without_a_reader_fails() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) return false;
    ::close(ends[0]);
    return ::write(ends[1], "x", 1) == -1 && errno == EPIPE;
}

struct sigaction action_of(int signal) {
    struct sigaction action {};
    (void)::sigaction(signal, nullptr, &action);
    return action;
}

bool is_default(int signal) { return action_of(signal).sa_handler == SIG_DFL; }

bool output_reaches_a_pipe_at_its_line_end() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) return false;
    if (::dup2(ends[1], STDOUT_FILENO) < 0) return false;
    std::array<char, 8> buffer{};
    (void)std::fputs("line\n", stdout);
    return ::read(ends[0], buffer.data(), buffer.size()) == 5;
}

TEST(ProcessSetupDeathTest, AVanishedReaderDoesNotEndTheProcess) {
    EXPECT_AFTER_SET_UP(write_to_a_pipe_without_a_reader_fails());
}

TEST(ProcessSetupDeathTest, ABrokenPipeIsHandledRatherThanIgnored) {
    // Shell commands would inherit an ignored signal.
    EXPECT_AFTER_SET_UP(action_of(SIGPIPE).sa_handler != SIG_IGN &&
                        action_of(SIGPIPE).sa_handler != SIG_DFL);
}

TEST(ProcessSetupDeathTest, ShellCommandsStillEndByABrokenPipe) {
    EXPECT_AFTER_SET_UP(std::system("kill -PIPE $$") == SIGPIPE);
}

TEST(ProcessSetupDeathTest, TheSignalsThatEndAProcessStillDo) {
    EXPECT_AFTER_SET_UP(is_default(SIGTERM) && is_default(SIGINT) && is_default(SIGHUP));
}

TEST(ProcessSetupDeathTest, StandardOutputIsLineBuffered) {
    EXPECT_AFTER_SET_UP(output_reaches_a_pipe_at_its_line_end());
}

}  // namespace
}  // namespace ruvo
