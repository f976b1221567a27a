#include "core/log.h"

#include "core/unique_fd.h"
#include "tests/support/files.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

constexpr int kWritesPerRotation = 20000;

class LogTest : public test::WorldTest {
  protected:
    // Writes numbered lines, the first with the given number.
    static void write(LogSite& site, int count, int first = 1) {
        (void)test::output_of([&] {
            for (int i = 0; i < count; ++i) log_line(site, "line %d\n", first + i);
        });
    }

    static void make_log_unopenable() { std::filesystem::create_directory(test::kLog); }

    static long lines_in(const char* path) {
        const std::string text = test::text_of(path);
        return std::count(text.begin(), text.end(), '\n');
    }
};

TEST_F(LogTest, AMessageReachesOutputAndFile) {
    LogSite site;
    EXPECT_EQ(test::output_of([&] { log_line(site, "[%s:%d] ip=%s\n", "main", 1931, "10.0.0.7"); }),
              "[main:1931] ip=10.0.0.7\n");
    EXPECT_EQ(log(), "[main:1931] ip=10.0.0.7\n");
    EXPECT_EQ(site.written, 1);
}

TEST_F(LogTest, AppendsToWhatTheFileHolds) {
    test::write_text(test::kLog, "from before\n");
    LogSite site;
    write(site, 2);
    EXPECT_EQ(log(), "from before\nline 1\nline 2\n");
}

TEST_F(LogTest, AddsNothingToAMessageWithoutALineFeed) {
    LogSite site;
    EXPECT_EQ(test::output_of([&] {
                  log_line(site, "value=%s", "1");
                  log_line(site, "next\n");
              }),
              "value=1next\n");
    EXPECT_EQ(log(), "value=1next\n");
}

TEST_F(LogTest, WritesALongMessageWhole) {
    const std::string text = test::repeated(100000, 'x');
    LogSite site;
    EXPECT_EQ(test::output_of([&] { log_line(site, "%s\n", text.c_str()); }), text + "\n");
    EXPECT_EQ(log(), text + "\n");
}

TEST_F(LogTest, StaysInTheFileUpToTheWriteBeforeTheRotation) {
    LogSite site;
    write(site, kWritesPerRotation - 1);
    EXPECT_FALSE(test::is_file(test::kRotatedLog));
    EXPECT_EQ(lines_in(test::kLog), 19999);
    EXPECT_EQ(site.written, 19999);
}

TEST_F(LogTest, TheTwentyThousandthWriteOfASiteRenamesTheFile) {
    LogSite site;
    write(site, kWritesPerRotation);
    EXPECT_FALSE(test::is_file(test::kLog));
    EXPECT_EQ(lines_in(test::kRotatedLog), 20000);
    EXPECT_TRUE(test::text_of(test::kRotatedLog).ends_with("line 19999\nline 20000\n"));
    EXPECT_EQ(site.written, 0);
}

TEST_F(LogTest, TheWriteAfterTheRotationBeginsAFreshFile) {
    LogSite site;
    write(site, kWritesPerRotation + 1);
    EXPECT_EQ(log(), "line 20001\n");
    EXPECT_EQ(site.written, 1);
}

TEST_F(LogTest, TwoSitesBelowTheLimitLeaveTheFile) {
    LogSite one;
    LogSite other;
    write(one, kWritesPerRotation - 1);
    write(other, kWritesPerRotation - 1);
    EXPECT_EQ(lines_in(test::kLog), 39998);
    EXPECT_FALSE(test::is_file(test::kRotatedLog));
}

TEST_F(LogTest, ASiteRotatesByItsOwnCountWhateverTheFileHolds) {
    LogSite one;
    LogSite other;
    write(one, kWritesPerRotation - 1);
    write(other, 5);
    write(one, 1);
    EXPECT_EQ(lines_in(test::kRotatedLog), 20005);
    EXPECT_EQ(other.written, 5);
}

TEST_F(LogTest, TheRotationReplacesAnOlderCopy) {
    test::write_text(test::kRotatedLog, "old copy\n");
    LogSite site;
    site.written = kWritesPerRotation - 1;
    write(site, 1);
    EXPECT_EQ(test::text_of(test::kRotatedLog), "line 1\n");
}

TEST_F(LogTest, AFailedRenameResetsTheCountAllTheSame) {
    std::filesystem::create_directories("/var/log/ruvo.log.1/in the way");
    LogSite site;
    site.written = kWritesPerRotation - 1;
    write(site, 1);
    EXPECT_EQ(log(), "line 1\n");
    EXPECT_EQ(site.written, 0);
}

TEST_F(LogTest, AMessageReachesOutputAloneWhenTheFileCannotBeOpened) {
    make_log_unopenable();
    LogSite site;
    EXPECT_EQ(test::output_of([&] { log_line(site, "still here\n"); }), "still here\n");
}

TEST_F(LogTest, AMessageThatMissesTheFileIsNotCounted) {
    make_log_unopenable();
    LogSite site;
    site.written = kWritesPerRotation - 1;
    write(site, 3);
    EXPECT_EQ(site.written, 19999);
    EXPECT_FALSE(std::filesystem::exists(test::kRotatedLog));
}

TEST_F(LogTest, AMessageThatTheFileHasNoRoomForIsCountedAllTheSame) {
    std::filesystem::create_symlink("/dev/full", test::kLog);
    LogSite site;
    site.written = kWritesPerRotation - 1;
    EXPECT_EQ(test::output_of([&] { log_line(site, "no room\n"); }), "no room\n");
    EXPECT_EQ(site.written, 0);
    EXPECT_EQ(std::filesystem::read_symlink(test::kRotatedLog), "/dev/full");
}

TEST_F(LogTest, AnEmptyMessageMakesTheFileAndIsCounted) {
    LogSite site;
    EXPECT_EQ(test::output_of([&] { log_line(site, "%s", ""); }), "");
    EXPECT_TRUE(test::is_file(test::kLog));
    EXPECT_EQ(log(), "");
    EXPECT_EQ(site.written, 1);
}

TEST_F(LogTest, AnUnrotatedMessageReachesOutputAndFile) {
    EXPECT_EQ(test::output_of([] { log_line_unrotated("[%s:%d] bind\n", "main", 1); }),
              "[main:1] bind\n");
    EXPECT_EQ(log(), "[main:1] bind\n");
}

TEST_F(LogTest, AnUnrotatedMessageReachesNeitherWhenTheFileCannotBeOpened) {
    make_log_unopenable();
    EXPECT_EQ(test::output_of([] { log_line_unrotated("nobody reads this\n"); }), "");
}

TEST_F(LogTest, UnrotatedMessagesNeverRotate) {
    (void)test::output_of([] {
        for (int i = 0; i <= kWritesPerRotation; ++i) log_line_unrotated("line\n");
    });
    EXPECT_FALSE(test::is_file(test::kRotatedLog));
    EXPECT_EQ(lines_in(test::kLog), 20001);
}

TEST_F(LogTest, NoLogLevelSilencesAMessage) {
    for (const int level : {0, 1, 3}) {
        g_log_level = level;
        LogSite site;
        EXPECT_EQ(test::output_of([&] {
                      log_line(site, "counted\n");
                      log_line_unrotated("not counted\n");
                  }),
                  "counted\nnot counted\n")
            << "level " << level;
    }
    EXPECT_EQ(lines_in(test::kLog), 6);
}

TEST_F(LogTest, DebugAndPlainMessagesStayOutOfTheFile) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] {
                  debug_line("debug\n");
                  print_line("plain\n");
              }),
              "debug\nplain\n");
    EXPECT_FALSE(std::filesystem::exists(test::kLog));
}

TEST_F(LogTest, LeavesErrnoAlone) {
    (void)test::output_of([] {
        LogSite site;
        errno = EADDRINUSE;
        log_line(site, "opened\n");
        EXPECT_EQ(errno, EADDRINUSE);
        log_line_unrotated("opened\n");
        EXPECT_EQ(errno, EADDRINUSE);
    });
    std::filesystem::remove(test::kLog);
    make_log_unopenable();
    (void)test::output_of([] {
        LogSite site;
        errno = EADDRINUSE;
        log_line(site, "not opened\n");
        EXPECT_EQ(errno, EADDRINUSE);
        log_line_unrotated("not opened\n");
        EXPECT_EQ(errno, EADDRINUSE);
    });
}

// Longer than what a socket holds that nobody reads. The end of it stays in the buffer of
// standard output.
constexpr std::size_t kLongBytes = 400000;
constexpr std::size_t kBufferBytes = 4096;
std::string long_message() { return test::repeated(kLongBytes - 1, 'x') + "\n"; }

// Runs a task in a thread while standard output is another descriptor.
class TaskWithOutput {
  public:
    TaskWithOutput(int output, std::function<void()> task) : kept_(::dup(STDOUT_FILENO)) {
        (void)std::fflush(stdout);
        (void)::dup2(output, STDOUT_FILENO);
        thread_ = std::thread(std::move(task));
    }
    TaskWithOutput(const TaskWithOutput&) = delete;
    TaskWithOutput& operator=(const TaskWithOutput&) = delete;
    ~TaskWithOutput() {
        thread_.join();
        (void)std::fflush(stdout);
        (void)::dup2(kept_.get(), STDOUT_FILENO);
    }

  private:
    UniqueFd kept_;
    std::thread thread_;
};

// A standard output that holds less than a long message until somebody reads it.
class SlowOutput {
  public:
    SlowOutput() {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) std::abort();
        reader_ = UniqueFd(ends[0]);
        writer_ = UniqueFd(ends[1]);
    }

    [[nodiscard]] int writer() const { return writer_.get(); }
    [[nodiscard]] bool has_begun() const {
        char byte = 0;
        return ::recv(reader_.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
    }
    [[nodiscard]] std::string read(std::size_t size) const {
        return test::read_bytes(reader_.get(), size);
    }

  private:
    UniqueFd reader_;
    UniqueFd writer_;
};

TEST_F(LogTest, AMessageIsOnStandardOutputBeforeItsFileIsOpened) {
    const SlowOutput slow;
    bool has_begun = false;
    bool is_open = true;
    std::string output;
    {
        const TaskWithOutput task(slow.writer(), [] {
            LogSite site;
            log_line(site, "%s", long_message().c_str());
        });
        has_begun = test::eventually([&] { return slow.has_begun(); });
        is_open = test::is_file(test::kLog);
        output = slow.read(kLongBytes - kBufferBytes);
    }
    output += slow.read(kBufferBytes);
    EXPECT_TRUE(has_begun);
    EXPECT_FALSE(is_open);
    EXPECT_EQ(output, long_message());
    EXPECT_EQ(log(), long_message());
}

TEST_F(LogTest, AnUnrotatedMessageOpensItsFileBeforeItIsOnStandardOutput) {
    const SlowOutput slow;
    bool is_open = false;
    std::string logged;
    std::string output;
    {
        const TaskWithOutput task(slow.writer(),
                                  [] { log_line_unrotated("%s", long_message().c_str()); });
        // Nobody reads standard output yet, so the message is not there as a whole.
        is_open = test::eventually([] { return test::is_file(test::kLog); });
        logged = log();
        output = slow.read(kLongBytes - kBufferBytes);
    }
    output += slow.read(kBufferBytes);
    EXPECT_TRUE(is_open);
    EXPECT_EQ(logged, "");
    EXPECT_EQ(output, long_message());
    EXPECT_EQ(log(), long_message());
}

TEST_F(LogTest, FollowsAFileThatSomebodyElseMovesAway) {
    LogSite site;
    write(site, 1);
    std::filesystem::rename(test::kLog, "/var/log/elsewhere");
    write(site, 1, 2);
    EXPECT_EQ(log(), "line 2\n");
}

TEST_F(LogTest, MessagesOfDifferentThreadsStayWhole) {
    const std::string filler = test::repeated(300, 'x');
    const std::string output = test::output_of([&] {
        LogSite site;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                for (int k = 0; k < 200; ++k) log_line(site, "%d%s%d\n", i, filler.c_str(), i);
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(site.written, 800);
    });
    for (int i = 0; i < 4; ++i) {
        const std::string line = std::to_string(i) + filler + std::to_string(i) + "\n";
        for (const std::string& text : {output, log()}) {
            int whole_lines = 0;
            for (std::size_t at = text.find(line); at != std::string::npos;
                 at = text.find(line, at + line.size())) {
                ++whole_lines;
            }
            EXPECT_EQ(whole_lines, 200) << "thread " << i;
        }
    }
}

}  // namespace
}  // namespace ruvo
