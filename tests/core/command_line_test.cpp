#include "core/command_line.h"

#include "core/build_info.h"
#include "tests/support/option_words.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using Words = std::vector<std::string>;
using test::repeated;

constexpr char kUsage[] =
    "ruvotcp 1.4.2-1\n"
    "Usage: ruvotcp\n"
    "\t-h | --help:\t\tShow help\n"
    "\t-i | --ip:\t\tbinding ip, default is 127.0.0.1\n"
    "\t-v :\t\t\t\tshow version\n"
    "\t-p <n> | --port <n>:\tSet port number, default port=2700\n"
    "\t-q | --qa:\t\tDisable all log messages\n"
    "\t--qr:\t\t\tDisable the log messages on run ruvoevent\n"
    "\t-s | --queue_size:\tmax events in queue, default is 1024\n"
    "\t--client command:  run as ruvotcp_client command\n"
    "\t--cmd setting-command:  send setting commandto ruvotcp\n";

// Everything that options can leave behind.
struct Outcome {
    std::string binding_ip{};
    std::int32_t client_flag = 0;
    std::int32_t cmd_flag = 0;
    std::string client_text{};
    std::string cmd_text{};
    std::int32_t log_level = 3;
    std::int32_t debug_flag = 0;
    std::string diagnostics{};

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << "ip '" << outcome.binding_ip << "', client " << outcome.client_flag << " '"
                  << outcome.client_text << "', cmd " << outcome.cmd_flag << " '"
                  << outcome.cmd_text << "', level " << outcome.log_level << ", debug "
                  << outcome.debug_flag << ", diagnostics '" << outcome.diagnostics << "'";
}

Outcome outcome_of(const Words& words) {
    const test::FreshProcessState process_state;
    const test::OptionWords options(words);
    testing::internal::CaptureStderr();
    CommandLine read;
    EXPECT_EQ(test::output_of([&] { read = read_options(options.count(), options.pointers()); }),
              "");
    EXPECT_EQ(g_log_ready, g_debug_flag);
    return {
        read.binding_ip, read.client_flag, read.cmd_flag, read.client_text,
        read.cmd_text,   g_log_level,      g_debug_flag,  testing::internal::GetCapturedStderr()};
}

struct Case {
    Words words;
    Outcome expected;
    const char* why;
};

void expect_outcomes(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(outcome_of(c.words), c.expected) << c.why;
}

TEST(ReadOptions, TakesEachOptionForWhatItSays) {
    expect_outcomes({
        {{}, {}, "no options"},
        {{"-i", "1.2.3.4"}, {.binding_ip = "1.2.3.4"}, "the short option"},
        {{"-i1.2.3.4"}, {.binding_ip = "1.2.3.4"}, "in one word"},
        {{"--ip", "1.2.3.4"}, {.binding_ip = "1.2.3.4"}, "the long option"},
        {{"--ip=1.2.3.4"}, {.binding_ip = "1.2.3.4"}, "in one word"},
        {{"-i", ""}, {}, "an empty argument"},
        {{"-i", "1.2.3.4", "-i", "x"}, {.binding_ip = "x"}, "the last one counts"},
        {{"-p", "9999", "-s", "5"}, {}, "port and queue size change nothing"},
        {{"--port", "9999", "--queue_size=5"}, {}, "nor do their long forms"},
        {{"-p", "-d", "-s", "-h"}, {}, "but their arguments are consumed"},
        {{"-q"}, {.log_level = 0}, "the short option"},
        {{"--qa"}, {.log_level = 0}, "the long option"},
        {{"--qr"}, {.log_level = 1}, "the other level"},
        {{"--qa", "--qr"}, {.log_level = 1}, "the last one counts"},
        {{"--qr", "-q"}, {.log_level = 0}, "the last one counts"},
        {{"-d"}, {.debug_flag = 1}, "debug messages"},
        {{"-qd"}, {.log_level = 0, .debug_flag = 1}, "two in one word"},
    });
}

TEST(ReadOptions, ACommandOfEitherOptionGoesIntoBothTextsAndTheBindingIp) {
    expect_outcomes({
        {{"--client", "X"}, {"X", 1, 0, "X", "X"}, "the client option"},
        {{"--client=X"}, {"X", 1, 0, "X", "X"}, "in one word"},
        {{"--cmd", "X"}, {"X", 0, 1, "X", "X"}, "the other option"},
        {{"--cmd", "X", "--client", "Y"}, {"Y", 1, 1, "Y", "Y"}, "both"},
        {{"--client", "longer", "--client", "Y"}, {"Y", 1, 0, "Y", "Y"}, "the last one counts"},
        {{"--client", "X", "-i", "1.2.3.4"}, {"1.2.3.4", 1, 0, "X", "X"}, "an address behind it"},
        {{"-i", "1.2.3.4", "--cmd", "X"}, {"X", 0, 1, "X", "X"}, "an address before it"},
        {{"--client", "-h"}, {"-h", 1, 0, "-h", "-h"}, "an argument that looks like an option"},
    });
}

TEST(ReadOptions, AnEmptyArgumentClearsBothFlagsAndLeavesTheTexts) {
    expect_outcomes({
        {{"--client", ""}, {}, "nothing was there"},
        {{"--cmd="}, {}, "nothing was there"},
        {{"--client", "X", "--client", ""}, {"", 0, 0, "X", "X"}, "the client flag"},
        {{"--client", "X", "--cmd", ""}, {"", 0, 0, "X", "X"}, "by the other option"},
        {{"--cmd", "X", "--client", ""}, {"", 0, 0, "X", "X"}, "the cmd flag"},
        {{"--client", "", "--cmd", "X"}, {"X", 0, 1, "X", "X"}, "a later command counts"},
    });
}

TEST(ReadOptions, ALongLevelOptionCountsAsAnEmptyArgument) {
    expect_outcomes({
        {{"--client", "X", "--qa"}, {"", 0, 0, "X", "X", 0}, "the client flag"},
        {{"--client", "X", "--qr"}, {"", 0, 0, "X", "X", 1}, "by the other level"},
        {{"--cmd", "X", "--qr"}, {"", 0, 0, "X", "X", 1}, "the cmd flag"},
        {{"--qa", "--client", "X"}, {"X", 1, 0, "X", "X", 0}, "a later command counts"},
        {{"-i", "1.2.3.4", "--qa"}, {.log_level = 0}, "the address goes too"},
        {{"--qr", "-i", "1.2.3.4"}, {.binding_ip = "1.2.3.4", .log_level = 1}, "a later one stays"},
        {{"--client", "X", "-q"}, {"X", 1, 0, "X", "X", 0}, "the short option clears nothing"},
        {{"--client", "X", "-d"}, {"X", 1, 0, "X", "X", 3, 1}, "nor does any other"},
    });
}

TEST(ReadOptions, ReportsWhatItDoesNotKnowAndReadsOn) {
    expect_outcomes({
        {{"-z", "-d"},
         {.debug_flag = 1, .diagnostics = "ruvotcpd: invalid option -- 'z'\n"},
         "a short option"},
        {{"--nothing", "-d"},
         {.debug_flag = 1, .diagnostics = "ruvotcpd: unrecognized option '--nothing'\n"},
         "a long option"},
        {{"--version"},
         {.diagnostics = "ruvotcpd: unrecognized option '--version'\n"},
         "the version has no long form"},
        {{"--c", "X", "-d"},
         {.debug_flag = 1,
          .diagnostics = "ruvotcpd: option '--c' is ambiguous; possibilities: '--client' "
                         "'--cmd'\n"},
         "an abbreviation of two"},
        {{"--qa=1", "-d"},
         {.debug_flag = 1, .diagnostics = "ruvotcpd: option '--qa' doesn't allow an argument\n"},
         "an argument too many"},
    });
}

TEST(ReadOptions, ReportsAMissingArgumentAndChangesNothing) {
    const auto missing_short = [](char option) {
        return Outcome{.diagnostics = std::string("ruvotcpd: option requires an argument -- '") +
                                      option + "'\n"};
    };
    const auto missing_long = [](const std::string& option) {
        return Outcome{.diagnostics = "ruvotcpd: option '--" + option + "' requires an argument\n"};
    };
    expect_outcomes({
        {{"-i"}, missing_short('i'), "the address"},
        {{"-p"}, missing_short('p'), "the port"},
        {{"-s"}, missing_short('s'), "the queue size"},
        {{"--ip"}, missing_long("ip"), "the address"},
        {{"--port"}, missing_long("port"), "the port"},
        {{"--queue_size"}, missing_long("queue_size"), "the queue size"},
        {{"--client"}, missing_long("client"), "the command"},
        {{"--cmd"}, missing_long("cmd"), "the command"},
    });
}

TEST(ReadOptions, TakesWhatAbbreviatesOneOptionAndSkipsOtherWords) {
    expect_outcomes({
        {{"--cl", "X"}, {"X", 1, 0, "X", "X"}, "client"},
        {{"--cm=X"}, {"X", 0, 1, "X", "X"}, "cmd"},
        {{"--p", "9999", "--qu", "5"}, {}, "port and queue size"},
        {{"word", "-d"}, {.debug_flag = 1}, "behind a word that is no option"},
        {{"-", "-d"}, {.debug_flag = 1}, "a lone dash is no option"},
        {{"--", "-d"}, {}, "behind the end of the options"},
    });
}

TEST(ReadOptions, CutsACommandTo2047BytesAndNothingElse) {
    for (const char* const option : {"--client", "--cmd"}) {
        for (const std::size_t size : {2046U, 2047U, 2048U, 5000U}) {
            const std::string command = repeated(size - 1, 'x') + "y";
            const Outcome outcome = outcome_of({option, command});
            EXPECT_EQ(outcome.client_text, command.substr(0, 2047)) << option << size;
            EXPECT_EQ(outcome.cmd_text, command.substr(0, 2047)) << option << size;
            EXPECT_EQ(outcome.binding_ip, command) << option << size;
            EXPECT_EQ(outcome.diagnostics, "") << option << size;
        }
    }
}

TEST(ParseCommandLine, TellsWhetherACommandWasGiven) {
    struct Line {
        Words words;
        bool expected;
        const char* why;
    };
    const Line lines[] = {
        {{}, false, "no options"},
        {{"-p", "9999", "-s", "5", "-q", "-d"}, false, "options of the daemon"},
        {{"--client", "X"}, true, "a command"},
        {{"--cmd", "X"}, true, "by the other option"},
        {{"--client", "X", "-q"}, true, "what clears nothing behind it"},
        {{"--client", "X", "--qa"}, false, "cleared again"},
        {{"--cmd", "X", "--qr"}, false, "cleared again"},
        {{"--qr", "--cmd", "X"}, true, "cleared before"},
        {{"--client", ""}, false, "an empty command"},
    };
    for (const Line& line : lines) {
        const test::FreshProcessState process_state;
        const test::OptionWords options(line.words);
        EXPECT_EQ(parse_command_line(options.count(), options.pointers()), line.expected)
            << line.why;
    }
}

TEST(Usage, IsTheHelpText) { EXPECT_EQ(test::output_of(usage), kUsage); }

// The two options that end the process; its standard output goes where the test looks.
class EndingOptionDeathTest : public testing::Test {
  protected:
    [[noreturn]] static void run(const Words& words) {
        (void)::dup2(STDERR_FILENO, STDOUT_FILENO);
        const test::OptionWords options(words);
        (void)parse_command_line(options.count(), options.pointers());
        std::abort();
    }

  private:
    test::FreshProcessState process_state_;
};

TEST_F(EndingOptionDeathTest, HelpIsPrintedAndEndsWithStatus0) {
    for (const char* const option : {"-h", "--help", "--h", "-hz"}) {
        EXPECT_EXIT(run({option}), testing::ExitedWithCode(0), testing::Eq(kUsage)) << option;
    }
}

TEST_F(EndingOptionDeathTest, TheVersionIsPrintedAndEndsWithStatus0) {
    const std::string version = std::string("ruvotcpd-V1.4.2-1.") + kBuildVariant +
                                " Build: " + kBuildDate + " " + kBuildTime + " +00:00\n";
    EXPECT_EXIT(run({"-v"}), testing::ExitedWithCode(0), testing::Eq(version));
    EXPECT_EXIT(run({"-version"}), testing::ExitedWithCode(0), testing::Eq(version));
}

TEST_F(EndingOptionDeathTest, TheFirstOfTheTwoEndsTheProcess) {
    EXPECT_EXIT(run({"-d", "-q", "--client", "X", "-h", "-v", "-z"}), testing::ExitedWithCode(0),
                testing::Eq(kUsage));
}

TEST_F(EndingOptionDeathTest, WhatIsUnknownBeforeItIsReportedFirst) {
    EXPECT_EXIT(run({"-z", "-h"}), testing::ExitedWithCode(0),
                testing::Eq(std::string("ruvotcpd: invalid option -- 'z'\n") + kUsage));
}

}  // namespace
}  // namespace ruvo
