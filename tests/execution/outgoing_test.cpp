#include "execution/outgoing.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

SubCommand step(std::string ip, std::string port, std::string protocol, std::string data) {
    return {std::move(ip), std::move(port), std::move(protocol), std::move(data), 0, 0};
}

TEST(Outgoing, HandsAddressPortAndDataToTheChosenSender) {
    const SubCommand command = step("10.1.2.3", "5000", "UDP", "hello");
    const Outgoing out = outgoing(command);
    EXPECT_EQ(out.sender, Sender::kUdp);
    EXPECT_EQ(out.ip, "10.1.2.3");
    EXPECT_EQ(out.port, 5000);
    EXPECT_EQ(out.data, "hello");
}

TEST(Outgoing, KeepsAtMostOneHundredAndThreeBytesOfData) {
    const std::string longest(103, 'x');
    EXPECT_EQ(outgoing(step("1.1.1.1", "1", "TCP", longest)).data.size(), 103U);
    const SubCommand longer = step("1.1.1.1", "1", "TCP", longest + "y");
    EXPECT_EQ(outgoing(longer).data, longest);
}

TEST(Outgoing, DataAndAddressEndAtTheirFirstZeroByte) {
    const SubCommand command = step("10.1.2.3\0junk"s, "1", "UDP", "a\0b"s);
    EXPECT_EQ(outgoing(command).data, "a");
    EXPECT_EQ(outgoing(command).ip, "10.1.2.3");
}

TEST(Outgoing, KeepsAtMostSixtyThreeCharactersOfTheAddress) {
    const SubCommand command = step(std::string(64, '1'), "1", "UDP", "");
    EXPECT_EQ(outgoing(command).ip, std::string(63, '1'));
}

TEST(Outgoing, ASenderOfTheReportGetsNoData) {
    const SubCommand tcp = step("1.1.1.1", "1", "TCPStatus", "data");
    const SubCommand udp = step("1.1.1.1", "1", "UDPStatus", "data");
    EXPECT_EQ(outgoing(tcp).sender, Sender::kTcpStatus);
    EXPECT_EQ(outgoing(tcp).data, "");
    EXPECT_EQ(outgoing(udp).sender, Sender::kUdpStatus);
    EXPECT_EQ(outgoing(udp).data, "");
}

TEST(Outgoing, ReadsThePortAsAWordOfTheGivenSize) {
    const SubCommand command = step("1.1.1.1", "4294967297", "UDP", "");
    EXPECT_EQ(outgoing(command, WordSize::k64).port, 1);
    EXPECT_EQ(outgoing(command, WordSize::k32).port, 2147483647);
}

}  // namespace
}  // namespace ruvo
