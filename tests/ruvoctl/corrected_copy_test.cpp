#include "ruvoctl/check/corrected_copy.h"

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

std::string corrected(const std::string& text, const CheckOptions& options = {}) {
    return corrected_copy(read_source(text), options);
}

TEST(ApplyEdits, ReplacesInsertsAndRemoves) {
    EXPECT_EQ(apply_edits("abcdef", {}), "abcdef");
    EXPECT_EQ(apply_edits("abcdef", {{2, 2, "X"}}), "abXef");
    EXPECT_EQ(apply_edits("abcdef", {{0, 0, "<"}, {6, 0, ">"}}), "<abcdef>");
    EXPECT_EQ(apply_edits("abcdef", {{4, 1, ""}, {1, 1, ""}}), "acdf") << "in any order";
    EXPECT_EQ(apply_edits("ab", {{1, 0, "1"}, {1, 0, "2"}}), "a12b") << "at one place in theirs";
}

TEST(CorrectedLines, AreAsAPersonReadsThem) {
    const SettingsSource source = read_source("BeamerPort =5000\r\nRoom=1\n");
    EXPECT_EQ(corrected_lines(source, {{10, 1, "0"}}),
              std::vector<std::string>{"BeamerPort0=5000"});
    EXPECT_EQ(corrected_lines(source, {{18, 7, ""}}), std::vector<std::string>{"(remove line 2)"});
}

TEST(CorrectedCopy, LeavesGoodSettingsAlone) {
    for (const std::string& text :
         {std::string(), std::string(OneStep{}), good_and("# note\n\nRoom=Hall"),
          std::string(OneStep{.port = "5000\r", .end = "\n"})}) {
        EXPECT_EQ(corrected(text), text);
    }
}

struct Correction {
    const char* reason;
    std::string before;
    std::string after;
};

TEST(CorrectedCopy, MakesTheCertainCorrections) {
    const std::vector<Correction> rows = {
        {"a blank before the equals sign", good_and("BeamerDelay =1\n"),
         good_and("BeamerDelay=1\n")},
        {"brackets", OneStep{.name = "PowerOn", .more = "PowerOnDelay[0]=4\n"},
         OneStep{.name = "PowerOn", .more = "PowerOnDelay0=4\n"}},
        {"a blank in front", good_and(" BeamerDelay0=4\n"), good_and("BeamerDelay0=4\n")},
        {"carriage returns in addresses only", OneStep{.end = "\r\n"},
         "BeamerCount=1\r\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\r\nBeamerProtocol0=UDP\r\n"
         "BeamerData0=4F4E0D\r\n"},
        {"a byte-order mark", "\xEF\xBB\xBF" + std::string(OneStep{}), OneStep{}},
        {"lower case", OneStep{.protocol = "tcp"}, OneStep{.protocol = "TCP"}},
        {"leading zeros", OneStep{.ip = "010.1.2.3"}, OneStep{.ip = "10.1.2.3"}},
        {"blanks at an address", OneStep{.ip = " 10.1.2.3 "}, OneStep{.ip = "10.1.2.3"}},
        {"separated digits", OneStep{.data = "4F 4E 0D"}, OneStep{.data = "4F4E0D"}},
        {"a Count of garbage", OneStep{.count = "one"}, OneStep{}},
        {"a blank in a Count", "Beamer Count=1\n" + step_lines(0),
         "BeamerCount=1\n" + step_lines(0)},
        {"a byte-order mark before a blank",
         "\xEF\xBB\xBF"
         "BeamerDelay =5\n" +
             std::string(OneStep{}),
         "BeamerDelay=5\n" + std::string(OneStep{})},
        {"every equals sign of a comment", good_and("#a=b=c=d=e=f=g=h=i=j=k=l=m\n"),
         good_and("#a:b:c:d:e:f:g:h:i:j:k:l:m\n")},
        {"a step without a delay, behind the first of three",
         "BeamerCount=3\n" + step_lines(1) + "BeamerDelay1=100\n" + step_lines(2),
         "BeamerCount=2\n" + step_lines(0) + "BeamerDelay0=100\nBeamerDelay1=0\n" + step_lines(1)},
        {"a built-in event's name",
         OneStep{
             .name = "poweron",
             .count = "2",
             .more =
                 "poweronDelay0=100\npoweronIP1=10.1.2.3\npoweronPort1=5000\npoweronProtocol1=UDP\n"
                 "poweronData1=41\n"},
         OneStep{.name = "PowerOn",
                 .count = "2",
                 .more =
                     "PowerOnDelay0=100\nPowerOnDelay1=0\nPowerOnIP1=10.1.2.3\nPowerOnPort1=5000\n"
                     "PowerOnProtocol1=UDP\nPowerOnData1=41\n"}},
    };
    for (const Correction& row : rows) EXPECT_EQ(corrected(row.before), row.after) << row.reason;
}

TEST(CorrectedCopy, AnIndexIsAddedWhereItIsMissing) {
    EXPECT_EQ(corrected("BeamerCount=1\nBeamerIP=10.1.2.3\nBeamerPort=5000\nBeamerProtocol=UDP\n"
                        "BeamerData=4F4E\n"),
              "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDP\n"
              "BeamerData0=4F4E\n");
}

TEST(CorrectedCopy, NumbersThatNoOneWritesSoAreNotReplaced) {
    for (const std::string value : {"1e3", "0x10", "1 hour"}) {
        const std::string text = good_and("BeamerDelay0=" + value + "\n");
        EXPECT_EQ(corrected(text), text);
    }
}

TEST(CorrectedCopy, WhatOnlyAPersonKnowsStays) {
    for (const std::string& text :
         {std::string(OneStep{.ip = "beamer.example"}), std::string(OneStep{.port = "http"}),
          std::string(OneStep{.ip = "255.255.255.255"}),
          std::string(OneStep{.data = "8101040002FF"})}) {
        EXPECT_EQ(corrected(text), text);
    }
}

TEST(CorrectedCopy, AddressesAreReplacedByWhatIsGiven) {
    CheckOptions options;
    options.addresses = {{"beamer.example", "10.1.2.3"}, {"255.255.255.255", "10.1.2.4"}};
    EXPECT_EQ(corrected(OneStep{.ip = "beamer.example"}, options), std::string(OneStep{}));
    EXPECT_EQ(corrected(OneStep{.ip = "255.255.255.255"}, options),
              std::string(OneStep{.ip = "10.1.2.4"}));
    EXPECT_EQ(corrected(OneStep{.ip = "other.example"}, options),
              std::string(OneStep{.ip = "other.example"}));
}

TEST(CorrectedCopy, FaultsBehindFaultsAreCorrectedToo) {
    const std::string text =
        "BeamerCount =1\r\nBeamerIP= 010.1.2.3\r\nBeamerPort0=5000\r\n"
        " BeamerProtocol0=udp\r\nBeamerData0=0x4F 0x4E\r\n";
    EXPECT_EQ(problems(corrected(text)), "") << corrected(text);
}

// Steps counted from 1 are moved down once; others stay where they are.
TEST(CorrectedCopy, IndicesMoveByOneAtMost) {
    EXPECT_EQ(corrected("BeamerCount=1\n" + step_lines(1)),
              "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDP\n"
              "BeamerData0=4F4E\n");
    for (const std::string& text :
         {"BeamerCount=21\n" + step_lines(20), "BeamerCount=3\n" + step_lines(2),
          "BeamerCount=1\n" + step_lines(128)}) {
        EXPECT_NE(corrected(text).find(text.substr(text.find('\n') + 1)), std::string::npos)
            << corrected(text);
    }
    const std::string once = corrected("BeamerIP20=10.1.2.3\n");
    EXPECT_EQ(corrected(once), once);
}

// A key that is set properly elsewhere is not set again by the correction of a misspelt one.
TEST(CorrectedCopy, AMisspeltKeyDoesNotReplaceAGoodOne) {
    const std::string text = corrected(good_and("BeamerProtocl0=Status\n"));
    EXPECT_EQ(check_settings(read_source(text), {}).summary.sends_as_written, 1U) << text;
}

TEST(CorrectedCopy, ACorrectedKeyDoesNotVoidTheFile) {
    for (const std::string line : {"BeamerProtocl99999999999999999999999=UDP\n"}) {
        EXPECT_EQ(problems(corrected(good_and(line))).find("fatal"), std::string::npos)
            << corrected(good_and(line));
    }
}

TEST(UnifiedDifference, ShowsWhatChanged) {
    EXPECT_EQ(unified_difference("a\nb\nc\n", "a\nb\nc\n"), "");
    EXPECT_EQ(unified_difference("a\nb\nc\n", "a\nX\nc\n"), "@@ -1,3 +1,3 @@\n a\n-b\n+X\n c\n");
}

TEST(UnifiedDifference, IsSafeForATerminal) {
    const std::string text = unified_difference("\x1B[2J\n\x07\r\n", "\x1B[31m\x9B\n");
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        EXPECT_TRUE(byte == '\n' || (code >= 0x20 && code < 0x7F)) << static_cast<int>(code);
    }
}

}  // namespace
}  // namespace ruvo::ctl
