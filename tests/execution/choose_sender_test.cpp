#include "execution/choose_sender.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

TEST(ChooseSender, SearchesTheProtocolText) {
    struct Case {
        const char* protocol;
        Sender expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"UDP", Sender::kUdp, "plain"},
        {"TCP", Sender::kTcp, "plain"},
        {"StatusUDP", Sender::kUdpStatus, "a status variant"},
        {"StatusTCP", Sender::kTcpStatus, "a status variant"},
        {"UDPStatus", Sender::kUdpStatus, "the order does not matter"},
        {"TCP with Status", Sender::kTcpStatus, "nor what stands in between"},
        {" UDP\r", Sender::kUdp, "blanks and a carriage return"},
        {"xTCPx", Sender::kTcp, "inside a word"},
        {"UDPTCP", Sender::kTcp, "TCP wins"},
        {"TCP/UDP", Sender::kTcp, "TCP wins wherever it stands"},
        {"Status UDP TCP", Sender::kTcpStatus, "TCP wins in a status variant too"},
        {"", Sender::kNone, "no protocol"},
        {"Status", Sender::kNone, "a status of nothing"},
        {"tcp", Sender::kNone, "case-sensitive"},
        {"udp", Sender::kNone, "case-sensitive"},
        {"Tcp", Sender::kNone, "case-sensitive"},
        {"statusUDP", Sender::kUdp, "the status word is case-sensitive too"},
        {"STATUSTCP", Sender::kTcp, "the status word is case-sensitive too"},
        {"UD P", Sender::kNone, "a word taken apart"},
        {"HTTP", Sender::kNone, "another protocol"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(choose_sender(c.protocol), c.expected) << c.protocol << ": " << c.why;
    }
}

}  // namespace
}  // namespace ruvo
