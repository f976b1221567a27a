#include "core/client_mode.h"

#include "core/command_line.h"
#include "tests/support/loopback.h"
#include "tests/support/option_words.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t kPort = 50003;
constexpr std::size_t kRequestBytes = 10;

class ClientModeTest : public test::WorldTest {
  protected:
    // What is printed when a service reads the request, answers and closes.
    std::string output_of_reply(const std::string& reply) {
        const test::TcpPeer service(
            [&](int connection) {
                request_ = test::read_bytes(connection, kRequestBytes);
                if (!reply.empty()) test::send_bytes(connection, reply);
                (void)::shutdown(connection, SHUT_WR);
                request_ += test::read_to_end(connection);
            },
            kPort);
        return test::output_of([] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); });
    }

    std::string request_;
};

TEST_F(ClientModeTest, AsksWithACarriageReturn) {
    EXPECT_EQ(output_of_reply("a: 1\nb:2"), "a=1\nb=2\n");
    EXPECT_EQ(request_, "getStatus\r");
    EXPECT_EQ(log(), "");
}

TEST_F(ClientModeTest, PrintsTheReportByItsKeys) {
    struct Case {
        std::string reply;
        std::string output;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "nothing at all"},
        {"no colon\n", "", "no colon"},
        {"x", "", "one byte"},
        {"b:2\na:1\n", "a=1\nb=2\n", "in the order of the keys"},
        {"a:1\n\xC3\xA4:3\nZ:2\n", "Z=2\na=1\n\xC3\xA4=3\n", "byte by byte"},
        {"a:1\rb:2\r", "a=1\nb=2\n", "carriage returns are line feeds"},
        {"a:1\r\nb:2\r\n", "\nb=2\na=1\n", "so a pair of both is an empty line"},
        {"a:1\na:2\n", "a=1\n", "the first value of a key"},
        {"a:\nb:2\n", "a=\nb=2\n", "an empty value"},
        {std::string("a:1\0b:2\n", 8), "a=1\n", "a zero byte ends the text"},
        {std::string("\0a:1\n", 5), "", "at once"},
        {"a:%s%n\n", "a=%s%n\n", "percent signs are text"},
        {"a:" + test::repeated(6000, 'x'), "a=" + test::repeated(4997, 'x') + "\n",
         "4999 bytes are read"},
        {"a:" + test::repeated(4994, 'x') + "\nb:2", "a=" + test::repeated(4994, 'x') + "\n",
         "a line cut behind its colon is none"},
    };
    for (const Case& c : cases) EXPECT_EQ(output_of_reply(c.reply), c.output) << c.why;
    EXPECT_EQ(log(), "");
}

TEST_F(ClientModeTest, TakesOneReadingOfAReportWithoutAnEnd) {
    const test::TcpPeer service(
        [](int connection) {
            std::string lines;
            for (int i = 0; i < 1000; ++i) lines += "a:1\n";
            try {
                while (true) test::send_bytes(connection, lines);
            } catch (const std::system_error&) {
                // The client has read enough.
            }
        },
        kPort);
    EXPECT_EQ(test::output_of([] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); }), "a=1\n");
}

TEST_F(ClientModeTest, GivesUpAfterTwoSecondsWithoutAWord) {
    const test::TcpPeer service([](int connection) { (void)test::read_to_end(connection); }, kPort);
    std::string output;
    const auto taken = test::duration_of(
        [&] { output = test::output_of([] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); }); });
    EXPECT_GE(taken, 2s);
    EXPECT_LT(taken, test::kDeadline);
    EXPECT_EQ(output, "");
    EXPECT_EQ(log(), "");
}

TEST_F(ClientModeTest, PrintsNothingOfAConnectionThatIsReset) {
    const test::TcpPeer service(
        [](int connection) {
            (void)test::read_bytes(connection, 1);
            test::reset_on_close(connection);
        },
        kPort);
    EXPECT_EQ(test::output_of([] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); }), "");
    EXPECT_EQ(log(), "");
}

TEST_F(ClientModeTest, TellsOfARefusedConnectionAndNothingElse) {
    const std::string output = test::output_of([] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); });
    EXPECT_EQ(output,
              "[ruvotcp] Error: connect 127.0.0.1:50003 ;(111)Connection refused;getStatus\r;\n");
    EXPECT_EQ(log(), output);
}

TEST_F(ClientModeTest, TellsOfAFailedSendAndNothingElse) {
    const test::TcpPeer service([](int connection) { (void)test::read_to_end(connection); }, kPort);
    const std::string output = test::output_of([] {
        test::run_refused({SYS_sendto}, EPIPE, [] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); });
    });
    EXPECT_EQ(output,
              "[ruvotcp] Error: send(len=-1) 127.0.0.1:50003 :(32)Broken pipe\n"
              "(10)getStatus\r;\n");
    EXPECT_EQ(log(), output);
}

TEST_F(ClientModeTest, PrintsNothingWithoutASocket) {
    EXPECT_EQ(test::output_of([] {
                  test::run_refused({SYS_socket}, EMFILE,
                                    [] { EXPECT_EQ(ruvotcp_client("getStatus"), 0); });
              }),
              "");
    EXPECT_EQ(log(), "");
}

TEST_F(ClientModeTest, SendsNoOtherCommand) {
    test::TcpListener service(kPort);
    for (const char* const command :
         {"", "getstatus", "GETSTATUS", "getStatu", "getStatus ", " getStatus", "getStatus\r",
          "getStatus\n", "getStatus2", "__GET__:network.ruvo.enable"}) {
        EXPECT_EQ(test::output_of([&] { EXPECT_EQ(ruvotcp_client(command), 0); }), "") << command;
    }
    EXPECT_FALSE(service.accept(0ms));
    EXPECT_EQ(log(), "");
}

// The request is sent while the options behind it are still unread.
class ClientOptionTest : public ClientModeTest {
  protected:
    static std::string output_of_options(const std::vector<std::string>& words) {
        const test::TcpPeer service(
            [](int connection) {
                (void)test::read_bytes(connection, kRequestBytes);
                test::send_bytes(connection, "a:1\n");
                (void)::shutdown(connection, SHUT_WR);
                (void)test::read_to_end(connection);
            },
            kPort);
        const test::OptionWords options(words);
        return test::output_of(
            [&] { EXPECT_TRUE(parse_command_line(options.count(), options.pointers())); });
    }
};

TEST_F(ClientOptionTest, EitherOptionSendsTheRequest) {
    EXPECT_EQ(output_of_options({"--client", "getStatus"}), "a=1\n");
    EXPECT_EQ(output_of_options({"--cmd", "getStatus"}), "a=1\n");
    EXPECT_EQ(log(), "");
}

TEST_F(ClientOptionTest, OptionsCountFromWhereTheyStand) {
    EXPECT_EQ(output_of_options({"-d", "--client", "getStatus"}),
              "[tcpclient:108] send[10] getStatus\r\na=1\n");
    g_debug_flag = 0;
    EXPECT_EQ(output_of_options({"--client", "getStatus", "-d"}), "a=1\n");
}

TEST_F(ClientOptionTest, NoLevelSilencesTheReport) {
    EXPECT_EQ(output_of_options({"--qa", "--client", "getStatus", "-q"}), "a=1\n");
}

TEST_F(ClientOptionTest, ACommandIsComparedAfterItsCut) {
    test::TcpListener service(kPort);
    const test::OptionWords options({"--client", "getStatus" + test::repeated(3000, ' ')});
    EXPECT_EQ(test::output_of(
                  [&] { EXPECT_TRUE(parse_command_line(options.count(), options.pointers())); }),
              "");
    EXPECT_FALSE(service.accept(0ms));
}

TEST_F(ClientOptionTest, EachCommandIsSentWhenItIsRead) {
    std::vector<std::string> requests;
    {
        test::TcpListener service(kPort);
        std::thread answer([&] {
            for (const char* const reply : {"a:1\n", "b:2\n"}) {
                const UniqueFd connection = service.accept();
                requests.push_back(test::read_bytes(connection.get(), kRequestBytes));
                test::send_bytes(connection.get(), reply);
                (void)::shutdown(connection.get(), SHUT_WR);
                (void)test::read_to_end(connection.get());
            }
        });
        const test::OptionWords options({"--client", "getStatus", "--cmd=getStatus", "--qa"});
        EXPECT_EQ(test::output_of([&] {
                      EXPECT_FALSE(parse_command_line(options.count(), options.pointers()));
                  }),
                  "a=1\nb=2\n");
        answer.join();
    }
    EXPECT_EQ(requests, (std::vector<std::string>{"getStatus\r", "getStatus\r"}));
}

}  // namespace
}  // namespace ruvo
