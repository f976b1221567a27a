#include "net/command_handling.h"

#include "execution/event_queue.h"
#include "execution/server_context.h"
#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/packet_pair.h"
#include "tests/support/refused_calls.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using Replies = std::vector<std::string>;

constexpr char kSettings[] = "/mnt/configs/ruvo/ruvo.txt";
constexpr char kTestSettings[] = "/mnt/configs/ruvo/ruvotest.txt";
constexpr char kTestList[] = "/tmp/ruvo_event_list_test.txt";
constexpr char kEnable[] = "network.ruvo.enable";

class CommandHandlingTest : public test::DaemonTest {
  protected:
    CommandHandlingTest() { g_server_ctx = &server_; }

    // Handles one command and returns its replies, a piece per send; what it prints is
    // in output_.
    Replies replies_to(const std::string& key, const std::string& value = "") {
        test::PacketPair connection;
        output_ = test::output_of(
            [&] { EXPECT_EQ(handle_tcp_command(connection.near_end(), key, value), 0); });
        EXPECT_NE(::fcntl(connection.near_end(), F_GETFD), -1) << "the connection stays open";
        return connection.sent();
    }

    std::size_t queue_length() {
        const Guard guard(server_.events_guard);
        return server_.events.size();
    }

    const std::unique_ptr<ServerContext> owner_ = std::make_unique<ServerContext>();
    ServerContext& server_ = *owner_;
    std::string output_;
};

TEST_F(CommandHandlingTest, AKeyWithoutAWordBeforeAColonIsRefusedAndLogged) {
    struct Case {
        std::string key;
        std::string named;
        const char* why;
    };
    const Case cases[] = {
        {"__TEST__", "__TEST__", "no colon"},
        {"__TEST__\n", "__TEST__", "the line feed at the end does not count"},
        {"__TEST__\n\n", "__TEST__\n", "a second one does"},
        {"__", "__", "no word"},
        {":PowerOn", ":PowerOn", "the colon comes first"},
        {"", "", "nothing"},
        {"\n", "", "a line feed alone"},
        {"__%s%n\n", "__%s%n", "percent signs are text"},
    };
    std::string everything;
    for (const Case& c : cases) {
        const std::string reply = "Error: fail command:" + c.named + "\n";
        const std::string line = "[handle_tcp_command:1512] Error command: " + reply;
        EXPECT_EQ(replies_to(c.key, "1"), Replies{reply}) << c.why;
        EXPECT_EQ(output_, line) << c.why;
        everything += line;
    }
    EXPECT_EQ(log(), everything);
}

TEST_F(CommandHandlingTest, AnUnknownWordIsRefusedWithoutALine) {
    struct Case {
        std::string key;
        std::string word;
        const char* why;
    };
    const Case cases[] = {
        {"__FOO__:x\n", "__FOO__", "an unknown word"},
        {"__test__:PowerOn", "__test__", "case counts"},
        {"__TEST__ :PowerOn", "__TEST__ ", "a blank counts"},
        {"__TEST__X:PowerOn", "__TEST__X", "a longer word"},
        {"__GET_:a", "__GET_", "a shorter word"},
        {"__:x", "__", "no word between the underscores"},
        {"FOO:x", "FOO", "no underscores"},
        {"__%s%n:x", "__%s%n", "percent signs are text"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(replies_to(c.key, "1"), Replies{"Error: fail command:" + c.word + "\n"}) << c.why;
        EXPECT_EQ(output_, "") << c.why;
    }
    EXPECT_EQ(log(), "");
}

TEST_F(CommandHandlingTest, AReplyThatCannotBeSentIsLoggedWithoutALineEnd) {
    struct Case {
        const char* key;
        const char* line;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"__FOO__:x\n", "Error: fail response: __FOO__", "the word"},
        {"__SET__:x\n", "Error: fail response: __SET__", "of the switch command too"},
        {"__GET__:x\n", "Error: fail response: __GET__", "of the reading command too"},
        {"__FOO__\n",
         "[handle_tcp_command:1512] Error command: Error: fail command:__FOO__\n"
         "Error: fail response: __FOO__",
         "the key of a malformed command"},
    };
    std::string everything;
    for (const Case& c : kCases) {
        const test::PacketPair connection;
        const std::string output = test::output_of([&] {
            test::run_refused({SYS_sendto, SYS_sendmsg}, EPIPE, [&] {
                EXPECT_EQ(handle_tcp_command(connection.near_end(), c.key, ""), 0);
            });
        });
        EXPECT_EQ(output, c.line) << c.why;
        everything += c.line;
    }
    EXPECT_EQ(log(), everything);
}

class TestCommandTest : public CommandHandlingTest {
  protected:
    TestCommandTest() {
        context_.normalEntries.set({{kFieldKey, "Normal", "Count", "", "1"}});
        context_.eventList.set({{"Normal", "Normal", 0, 0, {{}}, 0, 0, 0}});
        test::write_text(kTestSettings,
                         "LampCount=1\nLampDelay=5\nLampXMLfield=Knob\nLampData0=4869\n");
    }

    void expect_normal_side_untouched() {
        const EventDefinitions entries{{kFieldKey, "Normal", "Count", "", "1"}};
        EXPECT_EQ(*context_.normalEntries.get(), entries);
        ASSERT_EQ(context_.eventList.get()->size(), 1U);
        EXPECT_EQ(context_.eventList.get()->front().name, "Normal");
        for (const char* const path :
             {kSettings, "/tmp/ruvo_asc.txt", "/tmp/ruvo_hex.txt", "/tmp/ruvo_event_list.txt"}) {
            EXPECT_FALSE(test::is_file(path)) << path;
        }
    }
};

TEST_F(TestCommandTest, QueuesTheEventOfTheTestSettingsAsATest) {
    EXPECT_EQ(replies_to("__TEST__:Lamp\n"), Replies{"call event Lamp"});
    EXPECT_EQ(output_, "");
    EXPECT_EQ(log(), "");
    ASSERT_EQ(queue_length(), 1U);
    const EventEntry* const record = record_at(server_, 0);
    EXPECT_EQ(record->name, "Lamp");
    EXPECT_EQ(record->xmlField, "Knob");
    ASSERT_EQ(record->subCommands.size(), 1U);
    EXPECT_EQ(record->subCommands[0].data, "Hi");
    EXPECT_EQ(record->test, 1);
    EXPECT_EQ(record->t_ns_exec, record->t_ns_cread);
}

TEST_F(TestCommandTest, FillsTheTestSideAndLeavesTheNormalOne) {
    (void)replies_to("__TEST__:Lamp");
    EXPECT_EQ(context_.testEntries.get()->size(), 4U);
    ASSERT_EQ(context_.testEventList.get()->size(), 1U);
    EXPECT_EQ(context_.testEventList.get()->front().name, "Lamp");
    EXPECT_EQ(test::text_of(kTestList), "Lamp;Knob;0:Hi:0;Delay=5;\n");
    // The test-named mirrors show the normal settings.
    EXPECT_EQ(test::text_of("/tmp/ruvo_test_asc.txt"), "NormalCount=1\n");
    EXPECT_EQ(test::text_of("/tmp/ruvo_test_hex.txt"), "NormalCount=1\n");
    expect_normal_side_untouched();
}

TEST_F(TestCommandTest, ReadsTheTestSettingsAnewEachTime) {
    (void)replies_to("__TEST__:Lamp");
    test::write_text(kTestSettings, "DoorCount=1\n");
    EXPECT_EQ(replies_to("__TEST__:Door"), Replies{"call event Door"});
    EXPECT_EQ(test::text_of(kTestList), "Door;Door;0::0;Delay=0;\n");
    EXPECT_EQ(replies_to("__TEST__:Lamp"), Replies{"call event Lamp"});
    ASSERT_EQ(queue_length(), 2U);
    EXPECT_EQ(record_at(server_, 1)->name, "Door");
}

TEST_F(TestCommandTest, QueuesNothingThatTheTestSettingsDoNotName) {
    struct Case {
        const char* key;
        const char* reply;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"__TEST__:Nobody", "call event Nobody", "an unknown name"},
        {"__TEST__:Normal", "call event Normal", "an event of the normal settings"},
        {"__TEST__:Knob", "call event Knob", "a trigger name"},
        {"__TEST__:lamp", "call event lamp", "case counts"},
        {"__TEST__: Lamp", "call event  Lamp", "a blank counts"},
        {"__TEST__:Lamp:", "call event Lamp:", "a second colon counts"},
        {"__TEST__:", "call event ", "no name"},
        {"__TEST__:\n", "call event ", "a line feed alone"},
        {"__TEST__:Lamp\nLamp", "call event Lamp\nLamp", "two lines"},
        {"__TEST__:%s%n", "call event %s%n", "percent signs are text"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(replies_to(c.key, "1"), Replies{c.reply}) << c.why;
        EXPECT_EQ(output_, "") << c.why;
        EXPECT_EQ(queue_length(), 0U) << c.why;
    }
}

TEST_F(TestCommandTest, TakesANameWithASecondLineFeed) {
    EXPECT_EQ(replies_to("__TEST__:Lamp\n\n"), Replies{"call event Lamp\n"});
    EXPECT_EQ(queue_length(), 1U);
}

TEST_F(TestCommandTest, TakesNoNoticeOfAValue) {
    EXPECT_EQ(replies_to("__TEST__:Lamp", "Door\n"), Replies{"call event Lamp"});
    EXPECT_EQ(queue_length(), 1U);
}

TEST_F(TestCommandTest, RefreshesTheSwitchAndQueuesThoughItIsOff) {
    const std::string before = tool_calls();  // the context's own question
    (void)replies_to("__TEST__:Lamp");
    EXPECT_EQ(tool_calls(), before + "get boolean network.ruvo.enable=false\n");
    EXPECT_EQ(context_.enable, 0U);
    EXPECT_EQ(queue_length(), 1U);
}

TEST_F(TestCommandTest, GivesMissingTestSettingsTheDefaults) {
    std::filesystem::remove(kTestSettings);
    EXPECT_EQ(replies_to("__TEST__:PowerOn"), Replies{"call event PowerOn"});
    EXPECT_EQ(output_,
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, "
              "writ default\n");
    EXPECT_EQ(log(), output_);
    EXPECT_EQ(context_.testEntries.get()->size(), 10U);
    EXPECT_TRUE(test::is_file(kTestSettings));
    EXPECT_TRUE(test::is_file(kTestList));
    EXPECT_EQ(test::text_of(kTestList), "");
    EXPECT_EQ(queue_length(), 0U);
    expect_normal_side_untouched();
}

TEST_F(TestCommandTest, RunsThePreviousListWhenTheTestSettingsCannotBeRead) {
    (void)replies_to("__TEST__:Lamp");
    std::filesystem::remove_all("/mnt/configs/ruvo");
    EXPECT_EQ(replies_to("__TEST__:Lamp"), Replies{"call event Lamp"});
    EXPECT_EQ(output_,
              "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, "
              "writ default\n"
              "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvotest.txt;"
              "No such file or directory\n");
    EXPECT_EQ(log(), output_);
    EXPECT_EQ(queue_length(), 2U);
}

TEST_F(TestCommandTest, RunsThePreviousListWhenTheTestSettingsAreMalformed) {
    for (const char* const line : {"LampIPx=1.2.3.4\n", "LampIP99999999999999999999=1.2.3.4\n"}) {
        test::write_text(kTestSettings, "LampCount=1\nLampData0=4869\n");
        (void)replies_to("__TEST__:Lamp");
        const std::string before = log();
        const std::size_t queued = queue_length();
        test::write_text(kTestSettings, std::string("DoorCount=1\nLampCount=2\n") + line);
        EXPECT_EQ(replies_to("__TEST__:Lamp"), Replies{"call event Lamp"});
        EXPECT_TRUE(output_.starts_with("Error: [handle_tcp_command:")) << output_;
        EXPECT_TRUE(output_.ends_with("] rebuild_ruvo_event_list(): stoul\n")) << output_;
        EXPECT_EQ(log(), before + output_);
        ASSERT_EQ(queue_length(), queued + 1);
        EXPECT_EQ(record_at(server_, queued)->subCommands.size(), 1U);
        EXPECT_EQ(test::text_of(kTestList), "Lamp;Lamp;0:Hi:0;Delay=0;\n");
        EXPECT_EQ(replies_to("__TEST__:Door"), Replies{"call event Door"});
        EXPECT_EQ(queue_length(), queued + 1);
    }
}

TEST_F(TestCommandTest, AddsNothingOfItsOwnWhileDebugging) {
    g_debug_flag = 1;
    (void)replies_to("__TEST__:Nobody");
    EXPECT_EQ(output_.find("handle_tcp_command"), std::string::npos) << output_;
    EXPECT_TRUE(output_.ends_with("not found sys event=Nobody\n")) << output_;
}

class SwitchCommandTest : public CommandHandlingTest {
  protected:
    SwitchCommandTest() { set_tool_answer(""); }  // the tool says nothing when it stores

    // The arguments of the tool's calls that a command makes.
    std::string tool_calls_of(const std::string& key, const std::string& value) {
        const std::string before = tool_calls();
        EXPECT_EQ(replies_to(key, value), Replies{"Error: fail command:__SET__\n"});
        return tool_calls().substr(before.size());
    }
};

TEST_F(SwitchCommandTest, SwitchesInMemoryAndInTheStoreWithTheErrorReply) {
    struct Case {
        const char* key;
        const char* value;
        std::uint32_t before;
        std::uint32_t after;
        const char* tool_calls;
        const char* why;
    };
    constexpr char kOnCall[] = "set boolean network.ruvo.enable=true\n";
    constexpr char kOffCall[] = "set boolean network.ruvo.enable=false\n";
    const Case cases[] = {
        {"__SET__:network.ruvo.enable", "1", 0, 1, kOnCall, "on"},
        {"__SET__:network.ruvo.enable", "1\n", 0, 1, kOnCall, "on, with a line end"},
        {"__SET__:network.ruvo.enable", "0", 1, 0, kOffCall, "off"},
        {"__SET__:network.ruvo.enable", "0\n", 1, 0, kOffCall, "off, with a line end"},
        {"__SET__:network.ruvo.enable", "1", 1, 1, kOnCall, "on again is stored again"},
        {"__SET__:network.ruvo.enable", "0", 0, 0, kOffCall, "off again is stored again"},
        {"__SET__:NETWORK.RUVO.ENABLE", "0", 1, 0, kOffCall, "the key in capitals"},
        {"__SET__:network.ruvo.enable\n", "1", 0, 1, kOnCall, "a line feed behind the key"},
        {"__SET__:network.ruvo.enable=0", "1", 0, 1, kOnCall, "the key ends at its equals sign"},
        {"__SET__:network.ruvo.enable", "yes", 1, 1, "", "another value: stays on"},
        {"__SET__:network.ruvo.enable", "yes", 0, 0, "", "another value: stays off"},
        {"__SET__:network.ruvo.enable", "1\r\n", 0, 0, "", "a carriage return counts"},
        {"__SET__:network.ruvo.enable", "", 1, 1, "", "no value"},
        {"__SET__:network.ruvo.enable", "__SET__:network.ruvo.enable", 1, 1, "",
         "without an equals sign the value is the whole text"},
        {"__SET__:network.ruvo.import", "1", 0, 0, "", "another key"},
        {"__SET__:", "1", 0, 0, "", "no key"},
        {"__SET__: network.ruvo.enable", "1", 0, 0, "", "a blank before the key"},
        {"__SET__:network.ruvo.enable\n\n", "1", 0, 0, "", "a second line feed behind the key"},
    };
    for (const Case& c : cases) {
        context_.enable = c.before;
        EXPECT_EQ(tool_calls_of(c.key, c.value), c.tool_calls) << c.why;
        EXPECT_EQ(output_, "") << c.why;
        EXPECT_EQ(context_.enable, c.after) << c.why;
    }
    EXPECT_EQ(log(), "");
}

TEST_F(SwitchCommandTest, SwitchesInMemoryThoughTheToolIsMissing) {
    remove_tool();
    context_.enable = 0;
    testing::internal::CaptureStderr();  // the shell's complaint
    EXPECT_EQ(replies_to(std::string("__SET__:") + kEnable, "1"),
              Replies{"Error: fail command:__SET__\n"});
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(context_.enable, 1U);
    EXPECT_EQ(output_, "");
    EXPECT_EQ(log(), "");
}

TEST_F(SwitchCommandTest, SwitchesInMemoryBeforeTheToolHasEnded) {
    replace_tool("userconfigtool",
                 ": > /tmp/tools/runs\nwhile [ -e /tmp/tools/runs ]; do sleep 0.005; done\n");
    context_.enable = 0;
    auto reply = std::async(std::launch::async,
                            [this] { return replies_to(std::string("__SET__:") + kEnable, "1"); });
    EXPECT_TRUE(test::eventually([] { return test::is_file("/tmp/tools/runs"); }));
    EXPECT_EQ(context_.enable, 1U);
    std::filesystem::remove("/tmp/tools/runs");
    EXPECT_EQ(reply.get(), Replies{"Error: fail command:__SET__\n"});
}

TEST_F(SwitchCommandTest, TellsItsStepsWhileDebugging) {
    struct Case {
        const char* key;
        const char* value;
        const char* output;
    };
    constexpr Case kCases[] = {
        {"__SET__:network.ruvo.enable", "1",
         "[handle_tcp_command:1540] key=network.ruvo.enable, value=1\n"
         "[handle_tcp_command:1549] s_cmd=userconfigtool set boolean network.ruvo.enable=true\n"},
        {"__SET__:Network.Ruvo.Enable", "0\n",
         "[handle_tcp_command:1540] key=Network.Ruvo.Enable, value=0\n\n"
         "[handle_tcp_command:1556] s_cmd=userconfigtool set boolean network.ruvo.enable=false\n"},
        {"__SET__:network.ruvo.enable", "yes\n",
         "[handle_tcp_command:1540] key=network.ruvo.enable, value=yes\n\n"
         "[handle_tcp_command:1559] value error: yes\n"},
        {"__SET__:network.ruvo.enable", "1\r\n",
         "[handle_tcp_command:1540] key=network.ruvo.enable, value=1\r\n\n"
         "[handle_tcp_command:1559] value error: 1\r\n"},
        {"__SET__:other=x", "%s",
         "[handle_tcp_command:1540] key=other, value=%s\n"
         "[handle_tcp_command:1562] key not match:other\n"},
        {"__SET__:", "",
         "[handle_tcp_command:1540] key=, value=\n[handle_tcp_command:1562] key not match:\n"},
    };
    g_debug_flag = 1;
    for (const Case& c : kCases) {
        (void)replies_to(c.key, c.value);
        EXPECT_EQ(output_, c.output);
    }
    EXPECT_EQ(log(), "");
}

TEST_F(CommandHandlingTest, AValueThatIsNotThereReadsEmpty) {
    EXPECT_EQ(replies_to("__GET__:network.ruvo.nothing\n", "1"),
              Replies{"network.ruvo.nothing=\n"});
    EXPECT_EQ(replies_to("__GET__:"), Replies{"=\n"});
    EXPECT_EQ(replies_to("__GET__:%s%n"), Replies{"%s%n=\n"});
    EXPECT_EQ(replies_to("__GET__:a\n\n"), Replies{"a\n=\n"});
    EXPECT_EQ(output_, "");
    EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace ruvo
