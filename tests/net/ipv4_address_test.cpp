#include "net/ipv4_address.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

TEST(Ipv4Address, IsInNetworkByteOrder) {
    const sockaddr_in address = ipv4_address("127.0.0.1", 2700);
    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_EQ(address.sin_port, htons(2700));
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
}

TEST(Ipv4Address, IsZeroForTextThatIsNoAddress) {
    for (const char* text :
         {"", "localhost", "1.2.3", "1.2.3.256", "1.2.3.4 ", "::1", "01.2.3.4x"}) {
        EXPECT_EQ(ipv4_address(text, 9).sin_addr.s_addr, htonl(INADDR_ANY)) << "'" << text << "'";
    }
}

}  // namespace
}  // namespace ruvo
