// Protocols, addresses and ports.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

const std::vector<std::string> kLoggedOnly = {"logged as sent", "nothing leaves"};
const std::vector<std::string> kItself = {"0.0.0.0", "this very device"};

TEST(CheckSteps, AProtocolThatStartsNothing) {
    expect_cases({
        {"lower case", OneStep{.protocol = "tcp"}, "4:17 error protocol-unknown Beamer.0",
         kLoggedOnly},
        {"mixed case", OneStep{.protocol = "Udp"}, "4:17 error protocol-unknown Beamer.0",
         kLoggedOnly},
        {"another one", OneStep{.protocol = "HTTP"}, "4:17 error protocol-unknown Beamer.0",
         kLoggedOnly},
        {"Status alone", OneStep{.protocol = "Status"}, "4:17 error protocol-unknown Beamer.0",
         kLoggedOnly},
        {"letters apart", OneStep{.protocol = "T C P"}, "4:17 error protocol-unknown Beamer.0",
         kLoggedOnly},
        {"blanks around it", OneStep{.protocol = " UDP "}},
        {"inside a word", OneStep{.protocol = "MyTCPx"}},
        {"a carriage return", OneStep{.protocol = "TCP\r"}},
    });
}

TEST(CheckSteps, AMissingProtocol) {
    expect_cases({
        {"no line", "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerData0=41\n",
         "2:1 error protocol-missing Beamer.0", kLoggedOnly},
        {"an empty one", OneStep{.protocol = ""}, "4:17 error protocol-missing Beamer.0",
         kLoggedOnly},
    });
}

TEST(CheckSteps, BothTcpAndUdp) {
    expect_cases({
        {"TCP wins",
         OneStep{.protocol = "UDP/TCP"},
         "4:17 warning protocol-both Beamer.0",
         {"by TCP"}},
        {"one of them", OneStep{.protocol = "UDPudp"}},
    });
}

TEST(CheckSteps, StatusVariants) {
    expect_cases({
        {"with data",
         OneStep{.protocol = "UDPStatus"},
         "5:13 warning status-with-data Beamer.0",
         {"never leaves"}},
        {"without", OneStep{.protocol = "TCPStatus", .data = ""}},
        {"without a Data line",
         "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDPStatus\n"},
        {"Status in front", OneStep{.protocol = "StatusTCP", .data = ""}},
        {"misspelt",
         OneStep{.protocol = "UDPstatus"},
         "4:17 warning status-misspelt Beamer.0",
         {"not the status report"}},
        {"all capitals", OneStep{.protocol = "TCPSTATUS"}, "4:17 warning status-misspelt Beamer.0"},
        {"a letter missing", OneStep{.protocol = "TCPStaus"},
         "4:17 warning status-misspelt Beamer.0"},
        {"nothing like it", OneStep{.protocol = "TCP out"}},
    });
}

TEST(CheckSteps, AMissingAddress) {
    expect_cases({
        {"no line", "BeamerCount=1\nBeamerPort0=5000\nBeamerProtocol0=UDP\nBeamerData0=41\n",
         "2:1 error ip-missing Beamer.0", kItself},
        {"an empty one", OneStep{.ip = ""}, "2:11 error ip-invalid Beamer.0", kItself},
    });
}

TEST(CheckSteps, AnAddressThatIsNone) {
    for (const std::string ip :
         {"beamer.example", "localhost", "010.1.2.3", "10.1.2.03", "10.1.2.3 ", " 10.1.2.3",
          "10.1.2", "10.1.2.256", "10.1.2.3.4", "::1", "10.1.2.3:5000", "10,1,2,3", "0x0A.1.2.3",
          "10.1.2.3/24", "10.1..3", "-1.1.2.3", "http://10.1.2.3", "10.1.2.3\t"}) {
        SCOPED_TRACE(ip);
        EXPECT_EQ(problems(OneStep{.ip = ip}), "2:11 error ip-invalid Beamer.0");
        EXPECT_NE(words_of(OneStep{.ip = ip}).find("0.0.0.0"), std::string::npos);
    }
    for (const std::string ip :
         {"10.1.2.0", "0.0.0.0", "1.1.1.1", "127.0.0.1", "240.0.0.1", "10.1.255.2"}) {
        EXPECT_EQ(problems(OneStep{.ip = ip}), "") << ip;
    }
}

TEST(CheckSteps, ACarriageReturnBehindAnAddress) {
    expect_cases({
        {"of a CRLF line", OneStep{.ip = "10.1.2.3\r"}, "2:19 error cr-in-ip Beamer.0", kItself},
        {"a whole CRLF file", OneStep{.more = "BeamerDelay0=5\r\n", .end = "\r\n"},
         "2:19 error cr-in-ip Beamer.0", kItself},
        {"the address in a last line without an end",
         "BeamerCount=1\r\nBeamerPort0=5000\r\nBeamerProtocol0=UDP\r\nBeamerData0=41\r\n"
         "BeamerIP0=10.1.2.3"},
    });
}

TEST(CheckSteps, DestinationsThatAreAlwaysRefused) {
    expect_cases({
        {"UDP to all",
         OneStep{.ip = "255.255.255.255"},
         "2:11 error destination-refused Beamer.0",
         {"nothing leaves"}},
        {"TCP to all",
         OneStep{.ip = "255.255.255.255", .protocol = "TCP"},
         "2:11 error destination-refused Beamer.0",
         {"nothing leaves"}},
        {"TCP to the first group",
         OneStep{.ip = "224.0.0.0", .protocol = "TCP"},
         "2:11 error destination-refused Beamer.0",
         {"nothing leaves"}},
        {"TCP to the last group",
         OneStep{.ip = "239.255.255.254", .protocol = "TCP"},
         "2:11 error destination-refused Beamer.0",
         {"nothing leaves"}},
        {"a status report by TCP to a group",
         OneStep{.ip = "239.1.2.3", .protocol = "TCPStatus", .data = ""},
         "2:11 error destination-refused Beamer.0",
         {"nothing leaves"}},
        {"UDP to a group", OneStep{.ip = "239.1.2.3"}},
        {"TCP just below the groups", OneStep{.ip = "223.255.255.254", .protocol = "TCP"}},
        {"TCP just above the groups", OneStep{.ip = "240.0.0.0", .protocol = "TCP"}},
        {"255 elsewhere", OneStep{.ip = "10.255.255.1"}},
    });
}

TEST(CheckSteps, AnAddressThatEndsIn255) {
    expect_cases({
        {"UDP", OneStep{.ip = "10.1.2.255"}, "2:11 warning maybe-broadcast Beamer.0"},
        {"TCP", OneStep{.ip = "10.1.2.255", .protocol = "TCP"},
         "2:11 warning maybe-broadcast Beamer.0"},
        {"254", OneStep{.ip = "10.1.2.254"}},
        {"a UDP group has no broadcast address", OneStep{.ip = "239.1.2.255"}},
        {"nor has the device itself", OneStep{.ip = "127.0.0.1"}},
        {"nor in another place", OneStep{.ip = "127.0.0.255"}},
    });
}

TEST(CheckSteps, APortThatIsNone) {
    expect_cases({
        {"no line",
         "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerProtocol0=UDP\nBeamerData0=41\n",
         "2:1 error port-missing Beamer.0",
         {"port 0"}},
        {"empty", OneStep{.port = ""}, "3:13 error port-invalid Beamer.0", {"port 0"}},
        {"0", OneStep{.port = "0"}, "3:13 error port-invalid Beamer.0", {"port 0"}},
        {"65536", OneStep{.port = "65536"}, "3:13 error port-invalid Beamer.0", {"port 0"}},
        {"70000", OneStep{.port = "70000"}, "3:13 error port-invalid Beamer.0", {"port 4464"}},
        {"-1", OneStep{.port = "-1"}, "3:13 error port-invalid Beamer.0", {"port 65535"}},
        {"a service's name",
         OneStep{.port = "http"},
         "3:13 error port-invalid Beamer.0",
         {"port 0"}},
        {"hexadecimal", OneStep{.port = "0x1388"}, "3:13 error port-invalid Beamer.0", {"port 0"}},
        {"by TCP", OneStep{.port = "0", .protocol = "TCP"}, "3:13 error port-invalid Beamer.0"},
        {"thousands apart",
         OneStep{.port = "5,000"},
         "3:13 error port-invalid Beamer.0",
         {"\"5,000\" is no port number", "it is sent to port 5"}},
        {"with a point", OneStep{.port = "1.024"}, "3:13 error port-invalid Beamer.0", {"port 1"}},
        {"with a blank", OneStep{.port = "5 000"}, "3:13 error port-invalid Beamer.0", {"port 5"}},
        {"two", OneStep{.port = "5000;5001"}, "3:13 error port-invalid Beamer.0", {"port 5000"}},
        {"65535", OneStep{.port = "65535"}},
        {"1", OneStep{.port = "1"}},
        {"leading zeros", OneStep{.port = "0000005000"}},
        {"blanks", OneStep{.port = " 5000 "}},
        {"a carriage return", OneStep{.port = "5000\r"}},
    });
}

TEST(CheckSteps, UdpToPort0IsRefused) {
    const std::string words = words_of(OneStep{.port = "0"});
    EXPECT_NE(words.find("nothing leaves"), std::string::npos) << words;
}

TEST(CheckSteps, APortBeyond32BitsIsOutOfRange) {
    for (const WordSize word : {WordSize::k32, WordSize::k64}) {
        CheckOptions options;
        options.word = word;
        EXPECT_EQ(problems(OneStep{.port = "4294972296"}, options),
                  "3:13 error port-invalid Beamer.0");
        const std::string words = words_of(OneStep{.port = "4294972296"}, options);
        const std::string port = word == WordSize::k32 ? "port 65535" : "port 5000";
        EXPECT_NE(words.find(port), std::string::npos) << words;
    }
}

TEST(CheckSteps, NumbersThatDifferByWordSize) {
    EXPECT_NE(problems(OneStep{.port = "4294972296"}).find("3:13 warning word-size Beamer.0"),
              std::string::npos);
    EXPECT_NE(
        problems(good_and("BeamerDelay0=4294967301\n")).find("6:14 warning word-size Beamer.0"),
        std::string::npos);
    EXPECT_NE(problems(good_and("BeamerDelay=4294967301\n")).find("6:13 warning word-size Beamer"),
              std::string::npos);
    EXPECT_NE(problems(OneStep{.count = "4294967297"}).find("1:13 warning word-size Beamer"),
              std::string::npos);
    EXPECT_NE(problems(good_and("BeamerDelay4294967296=5\n")).find("6:1 warning word-size Beamer"),
              std::string::npos);
    EXPECT_EQ(problems(OneStep{.port = "00000000000000005000"}), "") << "zeros are no size";
    EXPECT_EQ(problems(good_and("BeamerDelay0=2147483647\n")), "");
    CheckOptions known;
    known.word = WordSize::k64;
    EXPECT_EQ(problems(good_and("BeamerDelay0=4294967301\n"), known).find("word-size"),
              std::string::npos);
}

TEST(CheckSteps, TheDevicesOwnPorts) {
    expect_cases({
        {"the command port", OneStep{.ip = "127.0.0.1", .port = "2700", .protocol = "TCP"},
         "3:13 warning own-port Beamer.0"},
        {"the status port", OneStep{.ip = "127.0.0.1", .port = "50001", .protocol = "TCP"},
         "3:13 warning own-port Beamer.0"},
        {"the clients' status port", OneStep{.ip = "127.0.0.1", .port = "50003", .protocol = "TCP"},
         "3:13 warning own-port Beamer.0"},
        {"another port", OneStep{.ip = "127.0.0.1", .port = "2701", .protocol = "TCP"}},
        {"another device", OneStep{.ip = "10.1.2.3", .port = "2700", .protocol = "TCP"}},
    });
}

TEST(CheckSteps, TwoTcpSendsToOneHost) {
    const auto two = [](const std::string& ip, const std::string& protocol,
                        const std::string& delay) {
        return std::string(OneStep{
            .count = "2", .protocol = protocol, .more = step_lines(1, protocol, ip) + delay});
    };
    expect_cases({
        {"at once", two("10.1.2.3", "TCP", ""), "6:11 warning tcp-same-host Beamer.1"},
        {"1.999 s apart", two("10.1.2.3", "TCP", "BeamerDelay0=0\nBeamerDelay1=1999\n"),
         "6:11 warning tcp-same-host Beamer.1"},
        {"2 s apart", two("10.1.2.3", "TCP", "BeamerDelay0=0\nBeamerDelay1=2000\n")},
        {"another host", two("10.1.2.4", "TCP", "")},
        {"UDP", two("10.1.2.3", "UDP", "")},
    });
}

// 128 steps that all wait for a minute.
std::string waiting_event(const std::string& name) {
    std::string text = name + "Count=128\n";
    for (int step = 0; step < 128; ++step) {
        const std::string n = std::to_string(step);
        text += name + "IP" + n + "=10.1.2.3\n" + name + "Port" + n + "=5000\n" + name +
                "Protocol" + n + "=UDP\n" + name + "Data" + n + "=41\n" + name + "Delay" + n +
                (step == 0 ? "=1\n" : "=0\n");
    }
    return text;
}

TEST(CheckSteps, MoreThan512SendsPendingTogether) {
    std::string text;
    for (const std::string name : {"A", "B", "C", "E"}) text += waiting_event(name);
    EXPECT_EQ(problems(text), "") << "512";
    text += OneStep{.name = "F", .more = "FDelay0=1\n"};
    EXPECT_NE(problems(text).find("warning pending-512"), std::string::npos) << "513";
}

}  // namespace
}  // namespace ruvo::ctl
