#include "events/event_list.h"

#include "core/daemon_context.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

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

}  // namespace
}  // namespace ruvo
