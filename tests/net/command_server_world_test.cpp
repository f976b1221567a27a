#include "net/command_server.h"

#include "execution/server_context.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <memory>
#include <string>
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

using CommandServerDeathTest = CommandServerTest;

TEST_F(CommandServerDeathTest, EndsTheProcessWhenThePortIsInUse) {
    const test::TcpListener other(2700);
    EXPECT_EXIT((void)handle_tcp_event(server_.get()), testing::ExitedWithCode(1), "");
    EXPECT_EQ(log(),
              "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
              "Error: [handle_tcp_event:1384] bind(): (98)Address already in use\n");
}

}  // namespace
}  // namespace ruvo
