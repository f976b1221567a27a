#include "net/command_server.h"

#include "core/unique_fd.h"
#include "execution/server_context.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

class CommandServerTest : public test::DaemonTest {
  protected:
    CommandServerTest() { g_server_ctx = server_.get(); }

    // What the server writes when the kernel refuses it a system call.
    std::string output_when_refused(const std::vector<long>& calls, int error) {
        return test::output_of([&] {
            test::run_refused(calls, error,
                              [this] { EXPECT_EQ(handle_tcp_event(server_.get()), 0); });
        });
    }

    const std::unique_ptr<ServerContext> server_ = std::make_unique<ServerContext>();
};

constexpr char kBindLine[] = "[handle_tcp_event:1382] bind 127.0.0.1:2700\n";

TEST_F(CommandServerTest, EndsItsThreadWithALineWhenAStepFails) {
    struct Case {
        std::vector<long> calls;
        int error;
        bool is_about_to_bind;
        const char* line;
        const char* why;
    };
    const Case cases[] = {
        {{SYS_socket},
         EMFILE,
         false,
         "Error: [handle_tcp_event:1368] open socket(): Too many open files\n",
         "no socket"},
        {{SYS_setsockopt},
         ENOBUFS,
         false,
         "Error: [handle_tcp_event:1372] Server-setsockopt(): No buffer space available\n",
         "no option"},
        {{SYS_bind},
         EACCES,
         true,
         "Error: [handle_tcp_event:1384] bind(): (13)Permission denied\n",
         "no address, though it is free"},
        {{SYS_listen},
         EOPNOTSUPP,
         true,
         "Error: [handle_tcp_event:1392] listen(): Operation not supported\n",
         "no backlog"},
        {{SYS_select, SYS_pselect6},
         ENOMEM,
         true,
         "Error: [handle_tcp_event:1401] select(): Cannot allocate memory\n",
         "nothing to watch with"},
    };
    std::string everything;
    for (const Case& c : cases) {
        std::string expected = c.is_about_to_bind ? kBindLine : "";
        expected += c.line;
        EXPECT_EQ(output_when_refused(c.calls, c.error), expected) << c.why;
        everything += expected;
    }
    EXPECT_EQ(log(), everything);
}

TEST_F(CommandServerTest, TellsNobodyWhereItBindsWhenTheLogCannotBeOpened) {
    std::filesystem::create_directory(test::kLog);
    EXPECT_EQ(output_when_refused({SYS_listen}, EOPNOTSUPP),
              "Error: [handle_tcp_event:1392] listen(): Operation not supported\n");
}

using CommandServerDeathTest = CommandServerTest;

TEST_F(CommandServerDeathTest, EndsTheProcessWhenThePortIsInUse) {
    const test::TcpListener other(2700);
    EXPECT_EXIT((void)handle_tcp_event(server_.get()), testing::ExitedWithCode(1), "");
    EXPECT_EQ(log(),
              "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
              "Error: [handle_tcp_event:1384] bind(): (98)Address already in use\n");
}

// A server's sockets in this process are those that sit on its port: the listening one and
// one for each connection.
std::vector<int> sockets_on_port(std::uint16_t port) {
    std::vector<int> sockets;
    for (int descriptor = 0; descriptor < 64; ++descriptor) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            continue;
        if (address.sin_family == AF_INET && address.sin_port == htons(port)) {
            sockets.push_back(descriptor);
        }
    }
    return sockets;
}

bool has_two_seconds(int socket, int option) {
    const auto timeout = test::timeout_of(socket, option);
    return timeout && timeout->tv_sec == 2 && timeout->tv_usec == 0;
}

// The command server never ends: it runs in a child.
TEST_F(CommandServerDeathTest, BoundsTheListeningSocketAndEveryConnectionToTwoSeconds) {
    EXPECT_EXIT(
        {
            std::thread([this] { (void)handle_tcp_event(server_.get()); }).detach();
            UniqueFd connection;
            (void)test::eventually([&] {
                if (!connection) connection = test::connect_to(2700);
                return connection && sockets_on_port(2700).size() == 2;
            });
            for (const int socket : sockets_on_port(2700)) {
                if (!has_two_seconds(socket, SO_SNDTIMEO)) std::_Exit(1);
                if (!has_two_seconds(socket, SO_RCVTIMEO)) std::_Exit(2);
            }
            std::_Exit(sockets_on_port(2700).size() == 2 ? 0 : 3);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ruvo
