#include "events/event_list.h"

#include "core/daemon_context.h"
#include "events/build_event_list.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>

namespace ruvo {
namespace {

constexpr char kNormalText[] = "/tmp/ruvo_event_list.txt";
constexpr char kTestText[] = "/tmp/ruvo_event_list_test.txt";
constexpr char kOkLine[] = "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n";

const EventDefinitions kPowerOn{{kFieldKey, "PowerOn", "Count", "", "2"},
                                {kFieldKey, "PowerOn", "Delay", "", "1"},
                                {kIndexedKey, "PowerOn", "Data", "0", "4142"},
                                {kIndexedKey, "PowerOn", "Data", "1", "4344"},
                                {kIndexedKey, "PowerOn", "Delay", "1", "500"}};
const EventDefinitions kMalformed{{kFieldKey, "PowerOn", "Count", "", "1"},
                                  {kIndexedKey, "PowerOn", "IP", "x", "1.2.3.4"}};

// Whether a thread of this process waits for something.
bool sleeps(pid_t thread) {
    const std::string state = test::text_of("/proc/self/task/" + std::to_string(thread) + "/stat");
    return state.find(") S ") != std::string::npos;
}

class EventListTest : public test::DaemonTest {
  protected:
    std::string output_of_rebuild(std::int32_t mode) {
        return test::output_of([&] { EXPECT_EQ(rebuild_ruvo_event_list(context_, mode), 0); });
    }
};

TEST_F(EventListTest, ANormalRebuildFillsTheNormalList) {
    context_.normalEntries.set(kPowerOn);
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
    EXPECT_EQ(log(), kOkLine);
    ASSERT_EQ(context_.eventList.get()->size(), 1U);
    EXPECT_EQ(context_.eventList.get()->front().name, "PowerOn");
    EXPECT_TRUE(context_.testEventList.get()->empty());
    EXPECT_EQ(test::text_of(kNormalText), "PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n");
    EXPECT_FALSE(test::is_file(kTestText));
}

TEST_F(EventListTest, ATestRebuildFillsTheTestListWithoutALine) {
    context_.testEntries.set(kPowerOn);
    EXPECT_EQ(output_of_rebuild(1), "");
    EXPECT_EQ(log(), "");
    EXPECT_EQ(context_.testEventList.get()->size(), 1U);
    EXPECT_TRUE(context_.eventList.get()->empty());
    EXPECT_EQ(test::text_of(kTestText), "PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n");
    EXPECT_FALSE(test::is_file(kNormalText));
}

TEST_F(EventListTest, EveryFlagButZeroSelectsTheTestSide) {
    context_.testEntries.set(kPowerOn);
    for (const std::int32_t flag : {2, 256, -1}) {
        context_.testEventList.set({});
        EXPECT_EQ(output_of_rebuild(flag), "") << flag;
        EXPECT_EQ(*context_.testEventList.get(), build_event_list(kPowerOn)) << flag;
        EXPECT_EQ(write_event_list_txt(context_, "/tmp/ruvo_t", flag), 0) << flag;
        EXPECT_EQ(test::text_of("/tmp/ruvo_t"), test::text_of(kTestText)) << flag;
    }
    EXPECT_FALSE(test::is_file(kNormalText));
}

TEST_F(EventListTest, NoCountsGiveAnEmptyListAnEmptyFileAndTheLine) {
    context_.eventList.set({EventEntry{}});
    test::write_text(kNormalText, "old\n");
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
    EXPECT_TRUE(context_.eventList.get()->empty());
    EXPECT_TRUE(test::is_file(kNormalText));
    EXPECT_EQ(test::text_of(kNormalText), "");
}

TEST_F(EventListTest, ARebuildReplacesTheListWhole) {
    context_.normalEntries.set(kPowerOn);
    (void)output_of_rebuild(0);
    const auto before = context_.eventList.get();
    context_.normalEntries.set({{kFieldKey, "Lamp", "Count", "", "1"}});
    (void)output_of_rebuild(0);
    ASSERT_EQ(context_.eventList.get()->size(), 1U);
    EXPECT_EQ(context_.eventList.get()->front().name, "Lamp");
    EXPECT_EQ(before->front().name, "PowerOn");
}

TEST_F(EventListTest, ARebuildKeepsNoRuntimeState) {
    context_.normalEntries.set(kPowerOn);
    EventList queued = build_event_list(kPowerOn);
    queued[0].t_ns_cread = 1;
    queued[0].t_ns_exec = 2;
    queued[0].has_run = kRecordRun;
    queued[0].test = 1;
    context_.eventList.set(queued);
    (void)output_of_rebuild(0);
    EXPECT_EQ(*context_.eventList.get(), build_event_list(kPowerOn));
}

TEST_F(EventListTest, SaysNothingOfWhatItPassesOver) {
    context_.normalEntries.set({{kFieldKey, "A", "Count", "", "300"},
                                {kFieldKey, "B", "Count", "", "0"},
                                {kFieldKey, "C", "Count", "", "-1"},
                                {kFieldKey, "D", "Count", "", "abc"},
                                {kIndexedKey, "A", "Delay", "128", "1"},
                                {kIndexedKey, "B", "Delay", "0", "1"},
                                {kIndexedKey, "A", "XMLfield", "0", "x"},
                                {kFieldKey, "A", "Data", "", "41"},
                                {kFieldKey, "A", "Delay", "", "abc"},
                                {kPlainKey, "A", "", "", "x"}});
    g_debug_flag = 1;
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
    EXPECT_EQ(log(), kOkLine);
}

TEST_F(EventListTest, AMalformedIndexLeavesListAndFile) {
    context_.normalEntries.set(kPowerOn);
    (void)output_of_rebuild(0);
    context_.normalEntries.set(kMalformed);
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_THROW((void)rebuild_ruvo_event_list(context_, 0), std::invalid_argument);
              }),
              "");
    EXPECT_EQ(context_.eventList.get()->front().subCommands.size(), 2U);
    EXPECT_EQ(test::text_of(kNormalText), "PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n");
}

TEST_F(EventListTest, AMalformedIndexIsFoundBehindTheDelaysThatAreTold) {
    g_debug_flag = 1;
    context_.normalEntries.set({{kFieldKey, "E", "Count", "", "1"},
                                {kIndexedKey, "E", "Delay", "0", "100"},
                                {kIndexedKey, "E", "Delay", "x", "100"},
                                {kIndexedKey, "E", "Delay", "0", "200"}});
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_THROW((void)rebuild_ruvo_event_list(context_, 0), std::invalid_argument);
              }),
              "[rebuild_ruvo_event_list:620] ns delay from exec=(0)100000000;\n");
    EXPECT_EQ(log(), "");
    EXPECT_FALSE(test::is_file(kNormalText));
}

TEST_F(EventListTest, AMalformedIndexReleasesTheLock) {
    context_.normalEntries.set(kMalformed);
    EXPECT_THROW((void)rebuild_ruvo_event_list(context_, 0), std::invalid_argument);
    context_.normalEntries.set(kPowerOn);
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
}

TEST_F(EventListTest, TheLineComesBeforeATextFileThatCannotBeWritten) {
    std::filesystem::create_directory(kNormalText);
    context_.normalEntries.set(kPowerOn);
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
    EXPECT_EQ(context_.eventList.get()->size(), 1U);
}

// Both are one file, which the text empties when it comes.
TEST_F(EventListTest, TheLineComesBeforeTheTextFile) {
    std::filesystem::create_symlink(test::kLog, kNormalText);
    context_.normalEntries.set(kPowerOn);
    EXPECT_EQ(output_of_rebuild(0), kOkLine);
    EXPECT_EQ(log(), "PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n");
}

// Whatever count the tests before this one have left.
TEST_F(EventListTest, TheLineRotatesTheLogOnceIn20000) {
    int rotations = 0;
    (void)test::output_of([&] {
        for (int rebuild = 0; rebuild < 20000; ++rebuild) {
            (void)rebuild_ruvo_event_list(context_, 0);
            if (std::filesystem::remove(test::kRotatedLog)) ++rotations;
        }
    });
    EXPECT_EQ(rotations, 1);
}

TEST_F(EventListTest, ARebuildWaitsForTheLockBeforeItTakesTheRecords) {
    std::atomic<pid_t> id{0};
    std::atomic<bool> ended{false};
    std::thread waiting;
    {
        const Guard other_rebuild(context_.lock);
        waiting = std::thread([&] {
            id = ::gettid();
            (void)output_of_rebuild(0);
            ended = true;
        });
        EXPECT_TRUE(test::eventually([&] { return ended || sleeps(id); }));
        EXPECT_FALSE(ended);
        EXPECT_EQ(log(), "");
        EXPECT_FALSE(test::is_file(kNormalText));
        context_.normalEntries.set(kPowerOn);
    }
    waiting.join();
    EXPECT_EQ(*context_.eventList.get(), build_event_list(kPowerOn));
}

// The text is long enough to be found unfinished, if the lock were free meanwhile.
TEST_F(EventListTest, ARebuildHoldsTheLockUntilItsTextIsWritten) {
    const std::string digits = test::repeated(1 << 24, '4');
    context_.testEntries.set(
        {{kFieldKey, "E", "Count", "", "1"}, {kIndexedKey, "E", "Data", "0", digits}});
    std::thread rebuild([this] { (void)rebuild_ruvo_event_list(context_, 1); });
    EXPECT_TRUE(test::eventually([this] { return !context_.testEventList.get()->empty(); }));
    {
        const Guard guard(context_.lock);
        const std::string expected = "E;E;0:" + test::repeated(1 << 23, 'D') + ":0;Delay=0;\n";
        EXPECT_TRUE(test::text_of(kTestText) == expected);
    }
    rebuild.join();
}

// A mutex that looks for its owner refuses what would block for ever.
TEST_F(EventListTest, ALockThatCannotBeTakenThrowsTheSystemsError) {
    static_assert(std::is_standard_layout_v<Mutex> && sizeof(Mutex) == sizeof(pthread_mutex_t));
    pthread_mutexattr_t looks_for_its_owner;
    ::pthread_mutexattr_init(&looks_for_its_owner);
    ::pthread_mutexattr_settype(&looks_for_its_owner, PTHREAD_MUTEX_ERRORCHECK);
    auto* const lock = reinterpret_cast<pthread_mutex_t*>(&context_.lock);
    ::pthread_mutex_init(lock, &looks_for_its_owner);
    ::pthread_mutexattr_destroy(&looks_for_its_owner);

    context_.normalEntries.set(kPowerOn);
    ::pthread_mutex_lock(lock);
    try {
        (void)rebuild_ruvo_event_list(context_, 0);
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EDEADLK);
    }
    ::pthread_mutex_unlock(lock);
    EXPECT_TRUE(context_.eventList.get()->empty());
    EXPECT_EQ(log(), "");
}

TEST_F(EventListTest, TellsTheStepDelaysWhileDebugging) {
    g_debug_flag = 1;
    context_.normalEntries.set({{kFieldKey, "E", "Count", "", "2"},
                                {kIndexedKey, "E", "Delay", "0", "100"},
                                {kIndexedKey, "E", "Delay", "1", "-300"}});
    EXPECT_EQ(output_of_rebuild(0),
              "[rebuild_ruvo_event_list:620] ns delay from exec=(0)100000000;\n"
              "[rebuild_ruvo_event_list:620] ns delay from exec=(1)-200000000;\n"
              "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n");
    EXPECT_EQ(log(), kOkLine);
}

TEST_F(EventListTest, TheTextEndsALineAtItsFirstZeroByte) {
    EventEntry with_zero{"A", "A", 0, 0, {SubCommand{}}, 0, 0, 0};
    with_zero.subCommands[0].data = std::string("x\0y", 3);
    context_.eventList.set({with_zero, {"B", "B", 0, 0, {}, 0, 0, 0}});
    EXPECT_EQ(write_event_list_txt(context_, kNormalText, 0), 0);
    EXPECT_EQ(test::text_of(kNormalText), "A;A;0:xB;B;Delay=0;\n");
}

TEST_F(EventListTest, TheTextShowsTheListThatTheFlagSelects) {
    context_.eventList.set({{"N", "N", 0, 0, {}, 0, 0, 0}});
    context_.testEventList.set({{"T", "T", 0, 0, {}, 0, 0, 0}});
    EXPECT_EQ(write_event_list_txt(context_, "/tmp/ruvo_n", 0), 0);
    EXPECT_EQ(write_event_list_txt(context_, "/tmp/ruvo_t", 1), 0);
    EXPECT_EQ(test::text_of("/tmp/ruvo_n"), "N;N;Delay=0;\n");
    EXPECT_EQ(test::text_of("/tmp/ruvo_t"), "T;T;Delay=0;\n");
}

TEST_F(EventListTest, ATextThatCannotBeWrittenIsAFailureWithoutAMessage) {
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_EQ(write_event_list_txt(context_, "/tmp/ruvo_none/list", 0), -1);
              }),
              "");
}

TEST_F(EventListTest, ATextThatCannotBeWrittenToItsEndIsNoFailure) {
    context_.eventList.set({{"N", "N", 0, 0, {}, 0, 0, 0}});
    EXPECT_EQ(write_event_list_txt(context_, "/dev/full", 0), 0);
    EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace ruvo
