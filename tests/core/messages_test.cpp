// Every message that can be called up at will, byte for byte: text, name and number
// are part of the product. What costs a request or a pass when memory runs out, and
// what wants a second to begin between two readings, is told elsewhere.

#include "core/client_mode.h"
#include "core/daemon_context.h"
#include "core/network_info.h"
#include "core/start_up.h"
#include "events/event_list.h"
#include "events/status_variables.h"
#include "execution/event_queue.h"
#include "execution/executor.h"
#include "execution/sender_slots.h"
#include "execution/server_context.h"
#include "net/command_handling.h"
#include "net/command_server.h"
#include "net/sender_bodies.h"
#include "net/tcpclient.h"
#include "net/udpclient.h"
#include "platform/shell.h"
#include "platform/user_config.h"
#include "settings/enable_switch.h"
#include "settings/mirrors.h"
#include "settings/settings_file.h"
#include "tests/support/files.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/packet_pair.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ruvo {
namespace {

using std::chrono::nanoseconds;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr char kSettings[] = "/mnt/configs/ruvo/ruvo.txt";
constexpr char kTestSettings[] = "/mnt/configs/ruvo/ruvotest.txt";
// Nobody listens there.
constexpr std::uint16_t kDeadPort = 9;

class MessagesTest : public test::DaemonTest {
  protected:
    struct Message {
        const char* text;
        std::function<void()> call_up;
    };

    MessagesTest() {
        set_tool_answer("true\n");  // what reads settings asks again
        g_server_ctx = &server_;
        g_power_on_window_over = 1;
        server_.thread_ip[3] = {'1', '2', '7', '.', '0', '.', '0', '.', '1'};
        server_.thread_data[3] = {'H', 'i'};
    }

    void queue_and_execute(EventEntry record) {
        const nanoseconds now = std::chrono::steady_clock::now() - server_.t_ns_start;
        if (record.t_ns_cread == 1) record.t_ns_cread = now.count();
        if (record.t_ns_exec == 1) record.t_ns_exec = now.count();
        {
            const Guard guard(server_.events_guard);
            server_.events.push_back(std::move(record));
        }
        (void)exec_event(server_);
    }

    void run_record(EventEntry record) {
        queue_and_execute(std::move(record));
        for (SenderThread& thread : server_.threads) {
            if (thread.joinable()) thread.join();
        }
        for (auto& state : server_.thread_state) state = kSlotFree;
    }

    static void handle_command(const char* key, const char* value = "") {
        const test::PacketPair connection;
        (void)handle_tcp_command(connection.near_end(), key, value);
    }

    // The same while the tool says nothing, as it does when it stores.
    static void handle_switch(const char* key, const char* value) {
        set_tool_answer("");
        handle_command(key, value);
        set_tool_answer("true\n");
    }

    // The record of an event E with one step, due at once.
    static EventEntry record(const char* protocol) {
        return {"E", "X", 1, 1, {{"127.0.0.1", "9", protocol, "Hi", 0, 0}}, 0, 0, 0};
    }

    std::string output_of(const Message& message) {
        std::error_code ignored;  // there may be none yet
        std::filesystem::remove(test::kLog, ignored);
        return test::output_of(message.call_up);
    }

    const std::unique_ptr<ServerContext> owner_ = std::make_unique<ServerContext>();
    ServerContext& server_ = *owner_;
};

// The messages that are counted for the rotation.
class CountedMessagesTest : public MessagesTest {
  protected:
    const std::vector<Message> messages_ = {
        {"[main:1931] ip=192.0.2.10\n", log_local_ip},
        {"[main:1949] wait network...1\n",
         [this] {
             context_.localIp.clear();
             wait_for_network();
         }},
        {"Error: [main:1929] rebuild_ruvo_event_list(): stoul\n",
         [] {
             test::write_text(kSettings, "ECount=1\nEIPx=1\n");
             read_first_settings();
         }},
        {"Error: pthread_create handle_tcp_event(): Resource temporarily unavailable\n",
         [] {
             test::run_refused({SYS_clone, SYS_clone3}, EAGAIN, [] { (void)start_threads(); });
         }},
        {"[renew_network_info:648] Cannot get ether net info\n",
         [this] {
             test::run_refused({SYS_socket}, EMFILE,
                               [this] { (void)renew_network_info(context_); });
         }},
        {"[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, writ default\n",
         [this] { (void)renew_ruvo_txt(context_, 1); }},
        {"[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n"
         "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvo.txt;"
         "No such file or directory\n",
         [this] {
             std::filesystem::remove_all("/mnt/configs/ruvo");
             (void)renew_ruvo_txt(context_, 0);
             std::filesystem::create_directories("/mnt/configs/ruvo");
         }},
        {"[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n",
         [this] {
             context_.normalEntries.set({});
             (void)rebuild_ruvo_event_list(context_, 0);
         }},
        {"[exec_event:836] during Power On, skip DVIConnected ...61/120\n",
         [this] {
             g_power_on_window_over = 0;
             g_uptime = 61;
             EventEntry skipped = record("UDP");
             skipped.name = "DVIConnected";
             run_record(skipped);
             g_power_on_window_over = 1;
         }},
        {"Error: [exec_event:912] pthread_create, skip E 127.0.0.1:9: "
         "Resource temporarily unavailable\n",
         [this] {
             test::run_refused({SYS_clone, SYS_clone3}, EAGAIN,
                               [this] { run_record(record("UDP")); });
         }},
        {"[ruvotcp] Error: connect 127.0.0.1:9 ;(111)Connection refused;Hi;\n",
         [] {
             std::array<char, 64> reply{};
             (void)tcpclient("127.0.0.1", kDeadPort, "Hi", reply);
         }},
        {"[ruvotcp] Error: connect 127.0.0.1:50003 ;(111)Connection refused;getStatus\r;\n",
         [] { (void)ruvotcp_client("getStatus"); }},
        {"[handle_tcp_command:1512] Error command: Error: fail command:__TEST__\n",
         [] { handle_command("__TEST__\n"); }},
        {"Error: [handle_tcp_command:1521] rebuild_ruvo_event_list(): stoul\n",
         [] {
             test::write_text(kTestSettings, "ECount=1\nEIPx=1\n");
             handle_command("__TEST__:E");
         }},
        {"Error: fail response: __FOO__",
         [] { test::run_refused({SYS_sendto}, EPIPE, [] { handle_command("__FOO__:x"); }); }},
        {"[handle_tcp_command:1512] Error command: Error: fail command:__FOO__\n"
         "Error: fail response: __FOO__",
         [] { test::run_refused({SYS_sendto}, EPIPE, [] { handle_command("__FOO__"); }); }},
    };
};

TEST_F(CountedMessagesTest, ReachOutputAndLog) {
    for (const Message& message : messages_) {
        EXPECT_EQ(output_of(message), message.text);
        EXPECT_EQ(log(), message.text);
    }
}

TEST_F(CountedMessagesTest, ReachOutputWhenTheLogCannotBeOpened) {
    std::filesystem::create_directory(test::kLog);
    for (const Message& message : messages_) {
        EXPECT_EQ(test::output_of(message.call_up), message.text);
    }
}

TEST_F(MessagesTest, OfAStaleRecordTellsTheTimes) {
    EventEntry stale = record("UDP");
    stale.t_ns_cread = -61 * kSecond;
    stale.t_ns_exec = -7;
    const std::string output = output_of({"", [&] { run_record(stale); }});
    EXPECT_TRUE(test::matches(output,
                              "\\[exec_event:797\\] Error cannot send sys event=X, run event=E, "
                              "now=[0-9]+, t_exec=-7, sub cmd size=1\n"))
        << output;
    EXPECT_EQ(log(), output);
}

// The messages that the executor and the senders may write very often. They are counted in
// a process of its own, where none has been written yet.
class RepeatedMessagesTest : public MessagesTest {
  protected:
    void write_stale_records(int count) {
        EventEntry stale = record("none");
        stale.t_ns_cread = -61 * kSecond;
        for (int i = 0; i < count; ++i) queue_and_execute(stale);
    }

    void write_skipped_records(int count) {
        g_power_on_window_over = 0;
        EventEntry skipped = record("none");
        skipped.name = "DVIConnected";
        for (int i = 0; i < count; ++i) queue_and_execute(skipped);
    }

    static void write_refused_connections(int count) {
        std::array<char, 64> reply{};
        for (int i = 0; i < count; ++i) (void)tcpclient("127.0.0.1", kDeadPort, "", reply);
    }

    // Every connection counts as made, none of them can be sent on.
    static void write_failed_sends(int count) {
        test::run_refused({SYS_connect}, 0, [count] {
            test::run_refused({SYS_sendto}, EPIPE, [count] { write_refused_connections(count); });
        });
    }

    [[noreturn]] void end_with_what_is_wrong() {
        constexpr int kWritesPerRotation = 20000;
        const std::function<void(int)> messages[] = {
            [this](int count) { write_stale_records(count); },
            [this](int count) { write_skipped_records(count); }, write_refused_connections,
            write_failed_sends};
        if (std::freopen("/dev/null", "w", stdout) == nullptr) std::_Exit(1);
        for (const auto& write : messages) write(kWritesPerRotation - 1);
        if (test::is_file(test::kRotatedLog)) std::_Exit(2);
        for (const auto& write : messages) {
            write(1);
            if (test::is_file(test::kLog)) std::_Exit(3);
            if (std::rename(test::kRotatedLog, test::kLog) != 0) std::_Exit(4);
        }
        std::_Exit(0);
    }
};

using RepeatedMessagesDeathTest = RepeatedMessagesTest;

TEST_F(RepeatedMessagesDeathTest, EachRotateTheLogByTheirOwnCount) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(end_with_what_is_wrong(), testing::ExitedWithCode(0), "");
}

TEST_F(MessagesTest, OfDebuggingReachOutputAlone) {
    g_debug_flag = 1;
    const Message messages[] = {
        {"[_system:156] Error: run false\n", [] { (void)_system("false"); }},
        {"[renew_enable_event:700] enable event=1\n",
         [this] { (void)renew_enable_event(context_); }},
        {"[dump:733] dump _q_ruvo to /tmp/ruvo_hex.txt\n",
         [this] { (void)dump(context_, "/tmp/ruvo_hex.txt"); }},
        {"[renew_macro_var:307]\n[renew_macro_var:327] save /tmp/ruvo_var.txt\n",
         [this] { (void)renew_macro_var(context_); }},
        {"[rebuild_ruvo_event_list:620] ns delay from exec=(0)5000000;\n",
         [this] {
             context_.testEntries.set(
                 {{kFieldKey, "E", "Count", "", "1"}, {kIndexedKey, "E", "Delay", "0", "5"}});
             (void)rebuild_ruvo_event_list(context_, 1);
         }},
        {"[renew_macro_var:307]\n[renew_macro_var:327] save /tmp/ruvo_var.txt\n"
         "[push_event_back:171] not found sys event=Nobody\n",
         [this] { (void)push_event_back(server_, "Nobody"); }},
        {"[get_new_ret_thread:57] get thread id=0\n",
         [this] { (void)get_new_ret_thread(server_, "E"); }},
        {"[get_new_ret_thread:68] Error: skip E, event thead over 512\n",
         [this] {
             for (auto& state : server_.thread_state) state = kSlotReserved;
             (void)get_new_ret_thread(server_, "E");
             for (auto& state : server_.thread_state) state = kSlotFree;
         }},
        {"[exec_event:786] skip run event=E, t_ns_exec=0, or t_ns_cread=0\n",
         [this] {
             EventEntry invalid = record("UDP");
             invalid.t_ns_exec = 0;
             run_record(invalid);
         }},
        {"[exec_event:804] skip run event=E, had run\n",
         [this] {
             EventEntry had_run = record("UDP");
             had_run.has_run = kRecordRun;
             run_record(had_run);
         }},
        {"[udpclient:42] send Hi\n", [] { (void)udpclient("127.0.0.1", kDeadPort, "Hi"); }},
        {"[udpclient_thread:131] 127.0.0.1 data=[2]Hi, sleep for=-1\n"
         "[udpclient_thread:136] 127.0.0.1 data=[2]Hi, sleep for=-1\n"
         "[udpclient:42] send Hi\n",
         [this] { udpclient_thread(3, kDeadPort, nanoseconds(-1), server_.thread_state[3]); }},
        {"[handle_tcp_command:1540] key=network.ruvo.enable, value=1\n"
         "[handle_tcp_command:1549] s_cmd=userconfigtool set boolean network.ruvo.enable=true\n",
         [] { handle_switch("__SET__:network.ruvo.enable", "1"); }},
        {"[handle_tcp_command:1540] key=network.ruvo.enable, value=0\n"
         "[handle_tcp_command:1556] s_cmd=userconfigtool set boolean network.ruvo.enable=false\n",
         [] { handle_switch("__SET__:network.ruvo.enable", "0"); }},
        {"[handle_tcp_command:1540] key=network.ruvo.enable, value=yes\n"
         "[handle_tcp_command:1559] value error: yes\n",
         [] { handle_command("__SET__:network.ruvo.enable", "yes"); }},
        {"[handle_tcp_command:1540] key=other, value=1\n"
         "[handle_tcp_command:1562] key not match:other\n",
         [] { handle_command("__SET__:other", "1"); }},
        {"[get_token_value:1313] get user json={\"network\":{}} key=network.ruvo.enable\n",
         [] { (void)get_token_value("network.ruvo.enable"); }},
    };
    for (const Message& message : messages) {
        EXPECT_EQ(output_of(message), message.text);
        EXPECT_EQ(log(), "") << message.text;
    }
}

TEST_F(MessagesTest, OfDebuggingSendersTellTheirSteps) {
    constexpr char kRefused[] =
        "[ruvotcp] Error: connect 127.0.0.1:50001 ;(111)Connection refused;"
        "getStatus;\n";
    g_debug_flag = 1;
    const auto send = [this](SenderBody body) {
        return test::output_of(
            [&] { body(3, kDeadPort, nanoseconds(-1), server_.thread_state[3]); });
    };
    EXPECT_EQ(send(tcpclient_thread),
              "[tcpclient_thread:154] 127.0.0.1 data=[2]Hi, sleep for=-1\n"
              "[tcpclient_thread:159] 127.0.0.1 data=[2]Hi, sleep for=-1\n"
              "[ruvotcp] Error: connect 127.0.0.1:9 ;(111)Connection refused;Hi;\n");
    EXPECT_EQ(send(udpclient_getStatus_thread),
              std::string("[udpclient_getStatus_thread:178] 127.0.0.1 data=[2]Hi, sleep for=-1\n") +
                  kRefused + "[udpclient:42] send (111)Connection refused\n");
    EXPECT_EQ(send(tcpclient_getStatus_thread),
              std::string("[tcpclient_getStatus_thread:199] sleep for=-1\n") + kRefused +
                  "[ruvotcp] Error: connect 127.0.0.1:9 ;(111)Connection refused;"
                  "(111)Connection refused;\n");
}

TEST_F(MessagesTest, OfAConnectedSenderTellTheLength) {
    test::TcpPeer peer([](int connection) { test::send_bytes(connection, "OK"); });
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([&] {
                  std::array<char, 64> reply{};
                  (void)tcpclient("127.0.0.1", peer.port(), "Hi", reply);
              }),
              "[tcpclient:108] send[2] Hi\n");
}

TEST_F(MessagesTest, OfAFailedSendTellItsResult) {
    test::TcpPeer peer([](int connection) { (void)test::read_to_end(connection); });
    const std::string output = test::output_of([&] {
        test::run_refused({SYS_sendto}, EPIPE, [&] {
            std::array<char, 64> reply{};
            (void)tcpclient("127.0.0.1", peer.port(), "Hi", reply);
        });
    });
    EXPECT_EQ(output, "[ruvotcp] Error: send(len=-1) 127.0.0.1:" + std::to_string(peer.port()) +
                          " :(32)Broken pipe\n(2)Hi;\n");
}

// The lines of a run, with the reading of the clock taken out.
std::string without_clock(const std::string& text) {
    return test::replaced(text, "now=[0-9]+, t_exec=[0-9]+", "now=, t_exec=");
}

TEST_F(MessagesTest, OfDebuggingTellEachStepOfARun) {
    g_debug_flag = 1;
    EXPECT_EQ(without_clock(test::output_of([this] { run_record(record("none")); })),
              "[exec_event:819] get sys event=X, run event=E, now=, t_exec=, sub cmd size=1, "
              "test=0\n");
    const std::string by_tcp =
        without_clock(test::output_of([this] { run_record(record("TCP")); }));
    EXPECT_TRUE(by_tcp.starts_with(
        "[exec_event:819] get sys event=X, run event=E, now=, t_exec=, sub cmd size=1, test=0\n"
        "[get_new_ret_thread:57] get thread id=0\n"
        "[exec_event:878] ip=127.0.0.1, port=9 data[2]=Hi===\n"
        "[exec_event:885] ip=127.0.0.1, data=Hi===\n"))
        << by_tcp;
    const std::string of_status =
        without_clock(test::output_of([this] { run_record(record("StatusUDP")); }));
    EXPECT_TRUE(of_status.starts_with(
        "[exec_event:819] get sys event=X, run event=E, now=, t_exec=, sub cmd size=1, test=0\n"
        "[exec_event:861]\n"
        "[get_new_ret_thread:57] get thread id=0\n"))
        << of_status;
}

TEST_F(MessagesTest, OfADisabledEventReachOutputAlone) {
    context_.enable = 0;
    g_log_ready = 1;
    EXPECT_EQ(test::output_of([this] { run_record(record("UDP")); }),
              "[exec_event:847] disable event, skip Hi\n");
    EXPECT_EQ(log(), "");
}

TEST_F(MessagesTest, OfASlotThatBecomesFree) {
    for (auto& state : server_.thread_state) state = kSlotReserved;
    ASSERT_EQ(server_.threads[5].start(udpclient_thread, 5, kDeadPort, nanoseconds(0),
                                       server_.thread_state[5]),
              0);
    ASSERT_TRUE(test::eventually([this] { return server_.thread_state[5] == kSlotFinished; }));
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { (void)get_new_ret_thread(server_, "E"); }),
              "[get_new_ret_thread:63] free thread id=5\n"
              "[get_new_ret_thread:68] Error: skip E, event thead over 512\n");
}

// The command server never ends: it runs in a child, which ends when the log holds
// what is expected of it.
class CommandServerMessagesTest : public MessagesTest {
  protected:
    void serve(const std::vector<long>& refused_calls = {}, int error = 0) {
        std::thread([this, refused_calls, error] {
            test::run_refused(refused_calls, error, [this] { (void)handle_tcp_event(&server_); });
        }).detach();
    }

    static UniqueFd connect() {
        UniqueFd connection;
        (void)test::eventually([&] {
            connection = test::connect_to(2700);
            return static_cast<bool>(connection);
        });
        return connection;
    }

    [[noreturn]] static void end_when_log_is(const std::string& expected) {
        const bool is_expected = test::eventually([&] { return log() == expected; });
        if (!is_expected) (void)std::fprintf(stderr, "the log holds:\n%s\n", log().c_str());
        std::_Exit(is_expected ? 0 : 1);
    }
};

using CommandServerMessagesDeathTest = CommandServerMessagesTest;

TEST_F(CommandServerMessagesDeathTest, TellRequestAndReply) {
    EXPECT_EXIT(
        {
            context_.enable = 0;
            serve();
            const UniqueFd connection = connect();
            test::send_bytes(connection.get(), "Power=On\n");
            end_when_log_is(
                "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
                "[handle_tcp_event:1434] Recv[5]:key=Power,value=On\n"
                "[handle_tcp_event:1461] send() Event Disabled, skip Power\n");
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(CommandServerMessagesDeathTest, TellAReplyThatCannotBeSent) {
    EXPECT_EXIT(
        {
            context_.enable = 0;
            serve({SYS_sendto}, EPIPE);
            const UniqueFd connection = connect();
            test::send_bytes(connection.get(), "x");
            end_when_log_is(
                "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
                "[handle_tcp_event:1434] Recv[1]:key=x,value=x"
                "Error: [handle_tcp_event:1459] send(): Broken pipe\n");
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(CommandServerMessagesDeathTest, TellAConnectionThatIsReset) {
    EXPECT_EXIT(
        {
            serve();
            UniqueFd connection = connect();
            test::reset_on_close(connection.get());
            connection.reset();
            end_when_log_is(
                "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
                "Error: [handle_tcp_event:1420] Recv(): Connection reset by peer\n");
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(CommandServerMessagesDeathTest, TellAConnectionThatCannotBeAccepted) {
    EXPECT_EXIT(
        {
            serve({SYS_accept, SYS_accept4}, EMFILE);
            const UniqueFd connection = connect();
            end_when_log_is(
                "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
                "Error: [handle_tcp_event:1410] accept(): Too many open files\n");
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ruvo
