#include "settings/settings_file.h"

#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>

namespace ruvo {
namespace {

constexpr char kSettings[] = "/mnt/configs/ruvo/ruvo.txt";
constexpr char kTestSettings[] = "/mnt/configs/ruvo/ruvotest.txt";

constexpr char kTestDump[] = "/tmp/ruvo_test_hex.txt";

constexpr char kDefaultLines[] =
    "FastCableDetectEvents=false\n"
    "PowerOnCount=0\n"
    "PowerOnDelay=1\n"
    "DVIConnectedCount=0\n"
    "DVIConnectedDelay=0\n"
    "DVIDisconnectedCount=0\n"
    "DVIDisconnectedDelay=0\n"
    "GenericEventsCount=0\n"
    "DataEncode=HEX\n";

const EventDefinitions kOneRecord{{1, "PowerOn", "Count", "", "1"}};

constexpr long kNotCounted = -1;

// How often this thread has written to anything, as its system counts.
long writes_of_this_thread() {
    std::ifstream counts("/proc/thread-self/io");
    long count = 0;
    for (std::string name; counts >> name >> count;) {
        if (name == "syscw:") return count;
    }
    return kNotCounted;
}

// Leaves this process one descriptor that it can still open.
class OneDescriptorLeft {
  public:
    OneDescriptorLeft() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        rlimit now = before_;
        now.rlim_cur = static_cast<rlim_t>(next) + 1;
        ::setrlimit(RLIMIT_NOFILE, &now);
    }
    ~OneDescriptorLeft() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    OneDescriptorLeft(const OneDescriptorLeft&) = delete;
    OneDescriptorLeft& operator=(const OneDescriptorLeft&) = delete;

  private:
    rlimit before_{};
};

class SettingsFileTest : public test::DaemonTest {
  protected:
    // Reads with the file mode binding even root; the file is the thread's own.
    int read_bound_by_file_modes() {
        int result = 0;
        test::run_bound_by_file_modes([&] { result = renew_ruvo_txt(context_, 0); });
        return result;
    }
};

TEST_F(SettingsFileTest, FillsTheStoreOfItsMode) {
    test::write_text(kSettings, "PowerOnCount=1\n");
    EXPECT_EQ(renew_ruvo_txt(context_, 0), 0);
    EXPECT_EQ(*context_.normalEntries.get(), kOneRecord);
    EXPECT_TRUE(context_.testEntries.get()->empty());
}

TEST_F(SettingsFileTest, ATestReadingLeavesTheNormalStore) {
    context_.normalEntries.set(kOneRecord);
    test::write_text(kTestSettings, "DVIConnectedCount=2\n");
    EXPECT_EQ(renew_ruvo_txt(context_, 1), 0);
    EXPECT_EQ(*context_.normalEntries.get(), kOneRecord);
    const EventDefinitions expected{{1, "DVIConnected", "Count", "", "2"}};
    EXPECT_EQ(*context_.testEntries.get(), expected);
}

TEST_F(SettingsFileTest, EveryFlagButZeroSelectsTheTestSettings) {
    test::write_text(kTestSettings, "PowerOnCount=1\n");
    for (const std::int32_t flag : {2, 256, -1}) {
        context_.testEntries.set({});
        std::filesystem::remove(kTestDump);
        EXPECT_EQ(renew_ruvo_txt(context_, flag), 0) << flag;
        EXPECT_EQ(*context_.testEntries.get(), kOneRecord) << flag;
        EXPECT_TRUE(test::is_file(kTestDump)) << flag;
    }
    EXPECT_FALSE(test::is_file(kSettings));
    EXPECT_FALSE(test::is_file("/tmp/ruvo_hex.txt"));
}

TEST_F(SettingsFileTest, AReadingEmptiesTheStoreFirst) {
    test::write_text(kSettings, "a=1\nb=2\n");
    (void)renew_ruvo_txt(context_, 0);
    test::write_text(kSettings, "PowerOnCount=1\n");
    (void)renew_ruvo_txt(context_, 0);
    EXPECT_EQ(*context_.normalEntries.get(), kOneRecord);
}

TEST_F(SettingsFileTest, AMissingFileIsCreatedWithTheDefaults) {
    set_tool_answer("true\n");
    const std::string output =
        test::output_of([this] { EXPECT_EQ(renew_ruvo_txt(context_, 0), 0); });
    EXPECT_EQ(output,
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n");
    EXPECT_EQ(log(), output);
    EXPECT_EQ(test::text_of(kSettings), std::string("EnableEvents=true\n") + kDefaultLines);
    EXPECT_EQ(context_.normalEntries.get()->size(), 10U);
}

TEST_F(SettingsFileTest, TheDefaultsTellTheSwitchAtThatMoment) {
    set_tool_answer("false\n");  // enabled until the reading asks
    (void)test::output_of([this] { (void)renew_ruvo_txt(context_, 0); });
    EXPECT_EQ(test::text_of(kSettings), std::string("EnableEvents=false\n") + kDefaultLines);
}

// The defaults are closed only after the second attempt to read, so that one takes none.
TEST_F(SettingsFileTest, TheLastDescriptorHoldsTheDefaultsUntilTheyHaveBeenOpenedForReading) {
    context_.normalEntries.set(kOneRecord);
    const std::string output = test::output_of([this] {
        const OneDescriptorLeft scarcity;
        EXPECT_EQ(renew_ruvo_txt(context_, 0), -1);
    });
    const std::string not_found =
        "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n";
    EXPECT_EQ(output, not_found +
                          "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvo.txt;Too "
                          "many open files\n");
    EXPECT_EQ(log(), not_found);
    EXPECT_EQ(test::text_of(kSettings), std::string("EnableEvents=true\n") + kDefaultLines);
    EXPECT_EQ(*context_.normalEntries.get(), kOneRecord);
}

TEST_F(SettingsFileTest, OnlyASwitchOfOneIsTrueInTheDefaults) {
    set_tool_answer("");  // the switch stays as it is
    context_.enable = 2;
    (void)test::output_of([this] { (void)renew_ruvo_txt(context_, 0); });
    EXPECT_EQ(test::text_of(kSettings), std::string("EnableEvents=false\n") + kDefaultLines);
}

TEST_F(SettingsFileTest, EveryDefaultLineIsAWriteOfItsOwn) {
    const auto writes_of_a_reading = [this] {
        const long before = writes_of_this_thread();
        (void)test::output_of([this] { (void)renew_ruvo_txt(context_, 0); });
        return writes_of_this_thread() - before;
    };
    if (writes_of_this_thread() == kNotCounted) GTEST_SKIP() << "nobody counts writes here";
    const long with_defaults = writes_of_a_reading();
    EXPECT_GE(with_defaults - writes_of_a_reading(), 10);
}

TEST_F(SettingsFileTest, AMissingTestFileIsCreatedToo) {
    const std::string output =
        test::output_of([this] { EXPECT_EQ(renew_ruvo_txt(context_, 1), 0); });
    EXPECT_EQ(
        output,
        "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, writ default\n");
    EXPECT_EQ(context_.testEntries.get()->size(), 10U);
    EXPECT_FALSE(test::is_file(kSettings));
}

TEST_F(SettingsFileTest, AFileThatCannotBeReadGetsTheDefaultsAppended) {
    test::write_text(kSettings, "PowerOnCount=1\n");
    std::filesystem::permissions(kSettings, std::filesystem::perms::owner_write);
    (void)test::output_of([this] { EXPECT_EQ(read_bound_by_file_modes(), -1); });
    EXPECT_EQ(test::text_of(kSettings),
              std::string("PowerOnCount=1\nEnableEvents=false\n") + kDefaultLines);
}

TEST_F(SettingsFileTest, AFileThatStaysUnreadableLeavesStoreAndMirrors) {
    context_.normalEntries.set(kOneRecord);
    std::filesystem::remove_all("/mnt/configs/ruvo");
    const std::string output =
        test::output_of([this] { EXPECT_EQ(renew_ruvo_txt(context_, 0), -1); });
    EXPECT_EQ(output,
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n"
              "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvo.txt;No such file or "
              "directory\n");
    EXPECT_EQ(log(), output);
    EXPECT_EQ(*context_.normalEntries.get(), kOneRecord);
    EXPECT_FALSE(test::is_file("/tmp/ruvo_asc.txt"));
    EXPECT_FALSE(test::is_file("/tmp/ruvo_hex.txt"));
}

// Each message counts its own writes, whatever tests before this one have left.
TEST_F(SettingsFileTest, EachMessageRotatesTheLogOnceIn20000) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    // The first one is ahead, so they rotate at different readings.
    (void)test::output_of([this] { (void)renew_ruvo_txt(context_, 0); });
    std::filesystem::remove_all("/mnt/configs/ruvo");
    int rotations = 0;
    // Without the tool, whose start takes far longer than the messages.
    (void)test::output_of([&] {
        test::run_refused({SYS_pipe2}, EMFILE, [&] {
            for (int reading = 0; reading < 20000; ++reading) {
                (void)renew_ruvo_txt(context_, 0);
                if (std::filesystem::remove(test::kRotatedLog)) ++rotations;
            }
        });
    });
    EXPECT_EQ(rotations, 2);
}

TEST_F(SettingsFileTest, DoesNotWaitForARebuildOfTheList) {
    test::write_text(kSettings, "PowerOnCount=1\n");
    test::write_text(kTestSettings, "PowerOnCount=1\n");
    for (const std::int32_t mode : {0, 1}) {
        std::future<int> result;
        {
            const Guard rebuild(context_.lock);
            result = std::async(std::launch::async,
                                [this, mode] { return renew_ruvo_txt(context_, mode); });
            EXPECT_EQ(result.wait_for(test::kDeadline), std::future_status::ready) << mode;
        }
        EXPECT_EQ(result.get(), 0) << mode;
    }
    EXPECT_EQ(*context_.testEntries.get(), kOneRecord);
}

TEST_F(SettingsFileTest, RefreshesTheSwitchFirstInBothModes) {
    set_tool_answer("false\n");
    for (const std::int32_t mode : {0, 1}) {
        test::write_text(mode == 0 ? kSettings : kTestSettings, "EnableEvents=true\n");
        context_.enable = 1;
        (void)renew_ruvo_txt(context_, mode);
        EXPECT_EQ(context_.enable, 0U) << "mode " << mode;
    }
}

TEST_F(SettingsFileTest, TheFilesOwnSwitchNeverDecides) {
    set_tool_answer("true\n");
    test::write_text(kSettings, "EnableEvents=false\n");
    (void)renew_ruvo_txt(context_, 0);
    EXPECT_EQ(context_.enable, 1U);
}

TEST_F(SettingsFileTest, WritesTheMirrorsOfItsMode) {
    test::write_text(kSettings, "PowerOnData=414243\n");
    EXPECT_EQ(renew_ruvo_txt(context_, 0), 0);
    EXPECT_EQ(test::text_of("/tmp/ruvo_asc.txt"), "PowerOnData=ABC\n");
    EXPECT_EQ(test::text_of("/tmp/ruvo_hex.txt"), "PowerOnData=414243\n");
    EXPECT_FALSE(test::is_file("/tmp/ruvo_test_asc.txt"));
    EXPECT_FALSE(test::is_file("/tmp/ruvo_test_hex.txt"));
}

TEST_F(SettingsFileTest, TheTestMirrorsShowTheNormalSettings) {
    test::write_text(kSettings, "PowerOnData=414243\n");
    test::write_text(kTestSettings, "PowerOnData=58\n");
    (void)renew_ruvo_txt(context_, 0);
    (void)renew_ruvo_txt(context_, 1);
    EXPECT_EQ(test::text_of("/tmp/ruvo_test_asc.txt"), "PowerOnData=ABC\n");
    EXPECT_EQ(test::text_of("/tmp/ruvo_test_hex.txt"), "PowerOnData=414243\n");
}

TEST_F(SettingsFileTest, TheDumpFollowsTheAsciiMirrorInBothModes) {
    test::write_text(kSettings, "PowerOnData=414243\n");
    test::write_text(kTestSettings, "");
    for (const char* path : {"/tmp/ruvo_asc.txt", "/tmp/ruvo_hex.txt", "/tmp/ruvo_test_asc.txt",
                             "/tmp/ruvo_test_hex.txt"}) {
        std::filesystem::create_symlink("/tmp/ruvo_both", path);
    }
    for (const std::int32_t mode : {0, 1}) {
        EXPECT_EQ(renew_ruvo_txt(context_, mode), 0);
        EXPECT_EQ(test::text_of("/tmp/ruvo_both"), "PowerOnData=414243\n") << "mode " << mode;
        std::filesystem::remove("/tmp/ruvo_both");
    }
}

TEST_F(SettingsFileTest, AMirrorThatCannotBeWrittenIsIgnored) {
    std::filesystem::create_directory("/tmp/ruvo_asc.txt");
    test::write_text(kSettings, "PowerOnCount=1\n");
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(renew_ruvo_txt(context_, 0), 0); }), "");
    EXPECT_EQ(test::text_of("/tmp/ruvo_hex.txt"), "PowerOnCount=1\n");
}

TEST_F(SettingsFileTest, NamesItsMirrorsWhileDebugging) {
    g_debug_flag = 1;
    test::write_text(kSettings, "PowerOnCount=1\n");
    EXPECT_EQ(test::output_of([this] { (void)renew_ruvo_txt(context_, 0); }),
              "[renew_enable_event:700] enable event=0\n"
              "[renew_ruvo_txt:288] save /tmp/ruvo_asc.txt /tmp/ruvo_hex.txt\n"
              "[dump:733] dump _q_ruvo to /tmp/ruvo_hex.txt\n");
    test::write_text(kTestSettings, "PowerOnCount=1\n");
    EXPECT_EQ(test::output_of([this] { (void)renew_ruvo_txt(context_, 1); }),
              "[renew_enable_event:700] enable event=0\n"
              "[renew_ruvo_txt:292] save /tmp/ruvo_test_asc.txt /tmp/ruvo_test_hex.txt\n"
              "[dump:733] dump _q_ruvo to /tmp/ruvo_test_hex.txt\n");
    EXPECT_EQ(log(), "");
}

TEST_F(SettingsFileTest, TellsTheStepsOfAFirstReadingInTheirOrderWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { (void)renew_ruvo_txt(context_, 0); }),
              "[renew_enable_event:700] enable event=0\n"
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n"
              "[renew_ruvo_txt:288] save /tmp/ruvo_asc.txt /tmp/ruvo_hex.txt\n"
              "[dump:733] dump _q_ruvo to /tmp/ruvo_hex.txt\n");
}

TEST_F(SettingsFileTest, TellsOfNoMirrorsBehindAFileThatStaysUnreadable) {
    g_debug_flag = 1;
    std::filesystem::remove_all("/mnt/configs/ruvo");
    EXPECT_EQ(test::output_of([this] { (void)renew_ruvo_txt(context_, 1); }),
              "[renew_enable_event:700] enable event=0\n"
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, writ "
              "default\n"
              "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvotest.txt;No such "
              "file or directory\n");
}

}  // namespace
}  // namespace ruvo
