#include "platform/shell.h"

#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/refused_calls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

namespace ruvo {
namespace {

class ShellTest : public testing::Test {
  protected:
    static std::string output_of_command(const char* command) {
        const UniquePipe pipe = open_command(command);
        if (!pipe) return "not started";
        std::string text;
        std::array<char, 256> buffer{};
        while (std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
            text += buffer.data();
        }
        return text;
    }

  private:
    test::FreshProcessState process_state_;
};

TEST_F(ShellTest, SystemReturnsZeroForStatusZero) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { EXPECT_EQ(_system("true"), 0); }), "");
}

TEST_F(ShellTest, SystemReturnsMinusOneForAnyOtherEnd) {
    struct Case {
        const char* command;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"false", "status 1"},
        {"exit 255", "the largest status"},
        {"kill -KILL $$", "ended by a signal"},
        {"/nowhere/at/all 2>/dev/null", "no such program"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(test::output_of([&] { EXPECT_EQ(_system(c.command), -1) << c.why; }), "")
            << c.why;
    }
}

TEST_F(ShellTest, SystemNamesAFailedCommandWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { (void)_system("exit 3"); }),
              "[_system:156] Error: run exit 3\n");
}

TEST_F(ShellTest, SystemWaitsForTheCommand) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("made");
    EXPECT_EQ(_system(("sh -c 'echo done > " + path + "'").c_str()), 0);
    EXPECT_EQ(test::text_of(path), "done\n");
}

TEST_F(ShellTest, SystemFailsWhenNoProcessCanBeStarted) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    test::run_refused({SYS_clone, SYS_clone3, SYS_vfork, SYS_fork}, EAGAIN,
                      [] { EXPECT_EQ(_system("true"), -1); });
}

TEST_F(ShellTest, OpenCommandReadsTheOutput) {
    EXPECT_EQ(output_of_command("printf 'one\\ntwo\\n' | tr o 0"), "0ne\ntw0\n");
}

TEST_F(ShellTest, OpenCommandGivesNothingForASilentCommand) {
    EXPECT_EQ(output_of_command("true"), "");
}

TEST_F(ShellTest, OpenCommandIsEmptyWhenNoProcessCanBeStarted) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    test::run_refused({SYS_clone, SYS_clone3, SYS_vfork, SYS_fork}, EAGAIN,
                      [] { EXPECT_FALSE(open_command("true")); });
}

TEST_F(ShellTest, OpenCommandClosesItsEndOnExec) {
    const UniquePipe pipe = open_command("true");
    EXPECT_NE(::fcntl(::fileno(pipe.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(ShellTest, OpenCommandsDoNotInheritOneAnother) {
    const UniquePipe first = open_command("cat /dev/null");
    const std::string descriptor = std::to_string(::fileno(first.get()));
    EXPECT_EQ(output_of_command(
                  ("[ -e /proc/self/fd/" + descriptor + " ] && echo open || echo closed").c_str()),
              "closed\n");
}

TEST_F(ShellTest, ClosingWaitsForTheCommand) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("made");
    { const UniquePipe pipe = open_command(("exec >&-; sleep 0.1; echo done > " + path).c_str()); }
    EXPECT_EQ(test::text_of(path), "done\n");
}

}  // namespace
}  // namespace ruvo
