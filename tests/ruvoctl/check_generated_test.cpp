// Random settings, weighted to what goes wrong: what is said of them is what the daemon's
// own functions do with them.

#include "events/build_event_list.h"
#include "events/expand_data.h"
#include "execution/outgoing.h"
#include "ruvoctl/check/corrected_copy.h"
#include "tests/ruvoctl/checked.h"

#include <arpa/inet.h>

#include <cstring>
#include <exception>
#include <random>
#include <set>

namespace ruvo::ctl {
namespace {

constexpr int kFiles = 3000;
// Of those that are corrected, too, which takes many times as long.
constexpr int kCorrectedFiles = 1000;

class SettingsMaker {
  public:
    explicit SettingsMaker(std::uint32_t seed) : random_(seed) {}

    std::string file() {
        std::string text = one_of({"", "", "", "", "", "\xEF\xBB\xBF", "# Hall\n"});
        const std::string name = one_of(kNames);
        if (!chance(6)) text += complete_event(name, one_of({"1", "1", "2", "3"}));
        const int lines = chance(3) ? 0 : static_cast<int>(random_() % 12);
        for (int line = 0; line < lines; ++line) {
            text += key(chance(3) ? std::string(one_of(kNames)) : name) + one_of(kEquals) +
                    value() + one_of(kEnds);
        }
        if (!text.empty() && chance(5)) text.pop_back();
        return text;
    }

  private:
    using Words = std::vector<const char*>;

    std::string one_of(const Words& words) { return words[random_() % words.size()]; }
    bool chance(unsigned n) { return random_() % n == 0; }

    std::string complete_event(const std::string& name, const std::string& count) {
        std::string text;
        const std::string end = chance(6) ? "\r\n" : "\n";
        text += name + "Count=" + count + end;
        for (int step = 0; step < std::stoi(count); ++step) {
            const std::string n = std::to_string(step);
            text += name + "IP" + n + "=" + (chance(4) ? one_of(kIps) : "10.1.2.3") + end;
            text += name + "Port" + n + "=" + (chance(4) ? one_of(kPorts) : "5000") + end;
            text += name + "Protocol" + n + "=" + (chance(4) ? one_of(kProtocols) : "UDP") + end;
            text += name + "Data" + n + "=" + (chance(3) ? one_of(kData) : "4F4E0D") + end;
            if (chance(3)) text += name + "Delay" + n + "=" + one_of(kDelays) + end;
        }
        return text;
    }

    std::string key(const std::string& name) {
        return one_of({"", "", "", "", "", " ", "#", "\t"}) + name + one_of(kFields) +
               one_of(kIndices);
    }

    std::string value() {
        switch (random_() % 5) {
            case 0:
                return one_of(kIps);
            case 1:
                return one_of(kPorts);
            case 2:
                return one_of(kProtocols);
            case 3:
                return one_of(kDelays);
            default:
                return one_of(kData);
        }
    }

    inline static const Words kNames = {
        "Beamer",  "PowerOn", "DVIConnected",  "HDM",          "HDMI",
        "Display", "Lamp",    "DisplayPortOn", "DataWall",     "poweron",
        "__x",     "#Beamer", "Countdown",     "GenericEvents"};
    inline static const Words kFields = {"Count", "XMLfield", "Protocol", "Delay", "IP", "Port",
                                         "Data",  "Ports",    "Protocl",  "data",  "",   "Room"};
    inline static const Words kIndices = {
        "",  "",  "0",  "0",  "0",   "1",  "2",  "128",        " 0",
        "X", " ", "-1", "+0", "[0]", "00", "0x", "4294967296", "99999999999999999999999"};
    inline static const Words kEquals = {"=", "=", "=", "=", " =", "= ", "==", ""};
    inline static const Words kEnds = {"\n", "\n", "\n", "\n", "\r\n", "\r", " \n", "\n\n"};
    inline static const Words kIps = {"10.1.2.3", "10.1.2.255", "255.255.255.255", "host",
                                      "",         "010.1.2.3",  " 10.1.2.3",       "239.1.2.3",
                                      "0.0.0.0",  "127.0.0.1",  "10.1.2.3\r"};
    inline static const Words kPorts = {
        "5000",  "0",     "65536", "",           "x",
        "-1",    "70000", "2700",  "4294972296", "9223372036854775808",
        " 5000", "5000x"};
    inline static const Words kProtocols = {"UDP",       "TCP",       "udp",    "",
                                            "TCPStatus", "UDPstatus", "Status", "TCPUDP",
                                            "StatusUDP", "UDP\r"};
    inline static const Words kDelays = {"0",   "5",          "60",         "59",  "-5",  "1s",
                                         "0.5", "2147483648", "4294967296", "abc", "1000"};
    inline static const Words kData = {
        "4F4E0D",
        "4F4E0",
        "4F 4E",
        "8101040002FF",
        "",
        "ON",
        "7B7B74696D657D7D",
        "7B7B7D7D",
        "7B7B706F7765727D7D",
        "7B7B74696D65",
        "5C725C6E",
        "815C72FF",
        "0x41",
        "7B74696D657D",
        "414141414141414141414141414141414141414141414141414141414141414141414141414141414141"
        "414141414141414141414141414141414141414141414141414141414141414141414141414141414141"
        "414141414141414141414141414141414141414141"};

    std::mt19937 random_;
};

// What goes wrong in one random file is shown with the file and its number.
class Generated : public ::testing::Test {
  protected:
    template <typename Check>
    void for_each_file(Check check, std::uint32_t files = kFiles) {
        for (std::uint32_t seed = 1; seed <= files && failures_ < 5; ++seed) {
            const std::string text = SettingsMaker(seed).file();
            const std::string complaint = check(text);
            if (complaint.empty()) continue;
            ++failures_;
            ADD_FAILURE() << "seed " << seed << ": " << complaint << "\n"
                          << ::testing::PrintToString(text) << "\n"
                          << problems(text);
        }
    }

  private:
    int failures_ = 0;
};

bool is_void(const SettingsSource& source) {
    try {
        build_event_list(source.definitions);
        return false;
    } catch (const std::exception&) {
        return true;
    }
}

CheckResult check(const SettingsSource& source) { return check_settings(source, {}); }

TEST_F(Generated, FatalIsSaidExactlyOfFilesThatThrow) {
    int voids = 0;
    for_each_file([&](const std::string& text) -> std::string {
        const SettingsSource source = read_source(text);
        const bool thrown = is_void(source);
        voids += thrown ? 1 : 0;
        return thrown == (check(source).summary.fatal > 0) ? "" : thrown ? "not said" : "not so";
    });
    EXPECT_GT(voids, kFiles / 10);
    EXPECT_LT(voids, kFiles * 9 / 10);
}

TEST_F(Generated, PlacesLieInTheFile) {
    for_each_file([&](const std::string& text) -> std::string {
        const SettingsSource source = read_source(text);
        for (const Diagnostic& found : check(source).diagnostics) {
            if (found.offset + found.length > text.size())
                return "behind the end: " + std::string(found.id);
            for (const Edit& edit : found.fix) {
                if (edit.offset + edit.length > text.size()) return "an edit behind the end";
            }
        }
        return "";
    });
}

TEST_F(Generated, DiagnosticsStandInTheOrderOfTheirPlaces) {
    for_each_file([&](const std::string& text) -> std::string {
        std::size_t before = 0;
        for (const Diagnostic& found : check(read_source(text)).diagnostics) {
            if (found.offset < before) return "out of order: " + std::string(found.id);
            before = found.offset;
        }
        return "";
    });
}

TEST_F(Generated, TheSummaryCountsTheDiagnostics) {
    for_each_file([&](const std::string& text) -> std::string {
        const CheckResult result = check(read_source(text));
        std::size_t counts[4] = {};
        for (const Diagnostic& found : result.diagnostics)
            ++counts[static_cast<int>(found.severity)];
        const CheckSummary& summary = result.summary;
        if (counts[0] != summary.fatal || counts[1] != summary.errors ||
            counts[2] != summary.warnings || counts[3] != summary.information) {
            return "the counts differ";
        }
        if (summary.sends_as_written > summary.sends_planned) return "more sent than planned";
        if (summary.lines_without_effect > summary.lines) return "more lines than there are";
        return "";
    });
}

TEST_F(Generated, CorrectingACorrectedCopyChangesNothing) {
    for_each_file(
        [&](const std::string& text) -> std::string {
            const std::string once = corrected_copy(read_source(text), {});
            const std::string twice = corrected_copy(read_source(once), {});
            return once == twice ? "" : "corrected again:\n" + unified_difference(once, twice);
        },
        kCorrectedFiles);
}

TEST_F(Generated, ACorrectedCopyLosesNoSend) {
    for_each_file(
        [&](const std::string& text) -> std::string {
            const SettingsSource source = read_source(text);
            const std::string copy = corrected_copy(source, {});
            // A comment that was a setting is one no longer, and what stood behind a lone
            // carriage return is now read.
            const std::string found = problems(text);
            if (found.find("comment-is-setting") != std::string::npos ||
                found.find("cr-line-ends") != std::string::npos) {
                return "";
            }
            const CheckSummary before = check(source).summary;
            const CheckSummary after = check(read_source(copy)).summary;
            return after.sends_as_written < before.sends_as_written
                       ? "fewer sends than before:\n" + unified_difference(text, copy)
                       : "";
        },
        kCorrectedFiles);
}

// Empty when the daemon sends all that the step says.
std::string not_sent_because(const SubCommand& step) {
    const Outgoing out = outgoing(step);
    if (out.sender == Sender::kNone) return "no sender";
    in_addr address = {};
    if (inet_pton(AF_INET, std::string(out.ip).c_str(), &address) != 1) return "no address";
    if (out.port < 1 || out.port > 65535) return "no port";
    // Blanks behind the last digit are zero bytes, whose loss changes nothing.
    const std::size_t meant = step.data.find_last_not_of('\0') + 1;
    if (!sends_report(out.sender) && out.data.size() < meant) return "data is cut";
    return "";
}

// What is said of a name behind a byte-order mark or blanks is said of the name.
std::string meant_name(std::string name) {
    if (name.rfind("\xEF\xBB\xBF", 0) == 0) name.erase(0, 3);
    const std::size_t begin = name.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : name.substr(begin);
}

TEST_F(Generated, AStepWithoutAnErrorIsSent) {
    int sent = 0;
    for_each_file([&](const std::string& text) -> std::string {
        const SettingsSource source = read_source(text);
        const CheckResult result = check(source);
        if (is_void(source)) return "";
        std::set<std::pair<std::string, std::uint32_t>> spoiled;
        std::set<std::string> spoiled_events;
        std::set<std::string> seen;
        for (const Diagnostic& found : result.diagnostics) {
            if (found.severity != Severity::kError && found.id != "count-larger") continue;
            if (found.step) {
                spoiled.emplace(found.event, *found.step);
            } else {
                spoiled_events.insert(found.event);
            }
        }
        for (const EventEntry& event : build_event_list(source.definitions)) {
            const std::string name = meant_name(event.name);
            if (!seen.insert(event.name).second) continue;  // the first alone is ever run
            if (spoiled_events.count(name) > 0 || spoiled_events.count("") > 0) continue;
            for (std::uint32_t i = 0; i < event.subCommands.size(); ++i) {
                if (spoiled.count({name, i}) > 0) continue;
                // What no line configures is no send.
                if (event.subCommands[i] == SubCommand{}) continue;
                const std::string why = not_sent_because(event.subCommands[i]);
                if (!why.empty()) return name + "." + std::to_string(i) + ": " + why;
                ++sent;
            }
        }
        return "";
    });
    EXPECT_GT(sent, kFiles / 10);
}

// The number that the summary names, counted again.
TEST_F(Generated, NoMoreArrivesAsWrittenThanIsSent) {
    for_each_file([&](const std::string& text) -> std::string {
        const SettingsSource source = read_source(text);
        const CheckSummary summary = check(source).summary;
        if (is_void(source)) {
            return summary.sends_as_written == 0 ? "" : "of a void file";
        }
        std::size_t sent = 0;
        for (const EventEntry& event : build_event_list(source.definitions)) {
            for (const SubCommand& step : event.subCommands) sent += not_sent_because(step).empty();
        }
        return summary.sends_as_written <= sent ? "" : "too many";
    });
}

}  // namespace
}  // namespace ruvo::ctl
