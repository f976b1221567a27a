#include "core/network_info.h"

#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdlib>

namespace ruvo {
namespace {

// The world has the interface net0 with the address 192.0.2.10/24.
class NetworkInfoTest : public test::DaemonTest {
  protected:
    static void must_run(const char* command) { ASSERT_EQ(std::system(command), 0) << command; }
};

TEST_F(NetworkInfoTest, TheContextIsBornWithAddressAndInterface) {
    const DaemonContext context;
    EXPECT_EQ(context.localIp, "192.0.2.10");
    EXPECT_EQ(context.localIfName, "net0");
}

TEST_F(NetworkInfoTest, TheAddressListedLastWins) {
    must_run("ip address add 198.51.100.7/24 dev net0");
    EXPECT_EQ(renew_network_info(context_), 0);
    must_run("ip address del 198.51.100.7/24 dev net0");
    EXPECT_EQ(context_.localIp, "198.51.100.7");
    EXPECT_EQ(context_.localIfName, "net0");
}

TEST_F(NetworkInfoTest, WithLoopbackAloneEverythingStaysAsItWas) {
    must_run("ip address del 192.0.2.10/24 dev net0");
    EXPECT_EQ(renew_network_info(context_), 0);
    must_run("ip address add 192.0.2.10/24 dev net0");
    EXPECT_EQ(context_.localIp, "192.0.2.10");
    EXPECT_EQ(context_.localIfName, "net0");
}

TEST_F(NetworkInfoTest, AnAddressOnLoopbackNeverCounts) {
    must_run("ip address add 198.51.100.9/32 dev lo");
    EXPECT_EQ(renew_network_info(context_), 0);
    must_run("ip address del 198.51.100.9/32 dev lo");
    EXPECT_EQ(context_.localIp, "192.0.2.10");
}

TEST_F(NetworkInfoTest, AListThatCannotBeReadIsLogged) {
    context_.localIp = "10.1.1.1";
    const std::string output = test::output_of([this] {
        test::run_refused({SYS_socket}, EMFILE,
                          [this] { EXPECT_EQ(renew_network_info(context_), -1); });
    });
    EXPECT_EQ(output, "[renew_network_info:648] Cannot get ether net info\n");
    EXPECT_EQ(log(), "[renew_network_info:648] Cannot get ether net info\n");
    EXPECT_EQ(context_.localIp, "10.1.1.1");
}

}  // namespace
}  // namespace ruvo
