// Whatever a corrected copy renames, renumbers, adds and removes: the lines of one step stay
// together. Every step has an address, a port and data of its own, so a mix shows.

#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/settings_source.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

constexpr int kFiles = 600;

struct StepValues {
    std::string port;
    std::string data;  // as it leaves
};

enum class Slip { kNone, kBlankInName, kNoIndex, kMisspelt, kTwice, kShuffled };

class FaultyFile {
  public:
    explicit FaultyFile(std::uint32_t seed) : random_(seed) {
        std::vector<std::string> names = {"PowerOn", "Beamer", "Lamp",     "poweron",
                                          "HDMI",    "ZIP",    "DataWall", "DisplayPort",
                                          "Bea mer", "beamer", "HDM",      "Countdown"};
        std::shuffle(names.begin(), names.end(), random_);
        const int events = 1 + below(2);
        for (int i = 0; i < events; ++i) add_event(names[static_cast<std::size_t>(i)], i);
    }

    std::string text() {
        const char* const end = below(3) == 0 ? "\r\n" : "\n";
        std::string text = below(20) == 0 ? "\xEF\xBB\xBF" : "";
        for (const std::string& line : lines_) text += line + end;
        return text;
    }

    const std::map<std::string, StepValues>& by_address() const { return by_address_; }

  private:
    int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

    void add_event(const std::string& name, int event) {
        const int first = below(5) == 0 ? 1 : 0;  // who counts from 1
        const int steps = 1 + below(3);
        slip_ = static_cast<Slip>(below(6));
        std::vector<std::string> lines{name + "Count=" + count_of(steps, first)};
        for (int step = first; step < steps + first; ++step) add_step(lines, name, event, step);
        if (slip_ == Slip::kTwice) {
            lines.push_back(lines[static_cast<std::size_t>(below(static_cast<int>(lines.size())))]);
        }
        if (slip_ == Slip::kShuffled) std::shuffle(lines.begin(), lines.end(), random_);
        if (below(5) == 0) lines.push_back(name + "XMLfield=T" + std::to_string(event));
        lines_.insert(lines_.end(), lines.begin(), lines.end());
    }

    std::string count_of(int steps, int first) {
        switch (below(9)) {
            case 0:
                return std::to_string(steps + first);
            case 1:
                return std::to_string(steps + 1);
            case 2:
                return "x";
            default:
                return std::to_string(steps);
        }
    }

    void add_step(std::vector<std::string>& lines, const std::string& name, int event, int step) {
        const std::string address = fmt::format("10.0.{}.{}", event, step);
        const StepValues values{std::to_string(1000 + 100 * event + step),
                                fmt::format("{}{}", "AB"[event], "abcd"[step])};
        by_address_[address] = values;
        lines.push_back(key(name, "IP", step) + "=" + address);
        lines.push_back(key(name, "Port", step) + "=" + values.port);
        lines.push_back(key(name, "Protocol", step) + "=UDP");
        lines.push_back(key(name, "Data", step) + "=" + hex_of(values.data));
        if (below(5) < 2) {
            lines.push_back(fmt::format("{}Delay{}={}", name, step, below(2) == 0 ? 0 : 100));
        }
    }

    std::string key(const std::string& name, std::string field, int step) {
        const bool slips = below(5) == 0;
        if (slips && slip_ == Slip::kBlankInName) return fmt::format("{} {}{}", name, field, step);
        if (slips && slip_ == Slip::kNoIndex) return name + field;
        if (slips && slip_ == Slip::kMisspelt) field = field == "IP" ? "Ip" : field.substr(0, 3);
        return name + field + std::to_string(step);
    }

    std::mt19937 random_;
    Slip slip_ = Slip::kNone;
    std::vector<std::string> lines_;
    std::map<std::string, StepValues> by_address_;
};

// The addresses that are sent something which was written for another one.
std::vector<std::string> mixed_sends(const std::string& text,
                                     const std::map<std::string, StepValues>& by_address) {
    std::vector<std::string> mixed;
    for (const PlannedEvent& event : plan_all(read_source(text), World{}).events) {
        for (const PlannedStep& step : event.steps) {
            const auto meant = by_address.find(step.destination.ip);
            if (step.outcome != StepOutcome::kSends || meant == by_address.end()) continue;
            const std::string port = std::to_string(step.destination.port);
            const bool other_port = port != "0" && port != meant->second.port;
            const bool other_data = !step.data->empty() && *step.data != meant->second.data;
            if (other_port || other_data) mixed.push_back(step.destination.ip);
        }
    }
    return mixed;
}

TEST(CorrectedSteps, HoldTheLinesThatWereWrittenForThem) {
    for (std::uint32_t seed = 1; seed <= kFiles; ++seed) {
        FaultyFile file(seed);
        const std::string text = file.text();
        const std::string copy = corrected_copy(read_source(text), {});
        ASSERT_EQ(mixed_sends(copy, file.by_address()), std::vector<std::string>{})
            << "seed " << seed << "\n"
            << text << "became\n"
            << copy;
    }
}

TEST(CorrectedSteps, AMixIsNoticed) {
    const std::map<std::string, StepValues> by_address{{"10.0.0.0", {"1000", "Aa"}},
                                                       {"10.0.0.1", {"1001", "Ab"}}};
    EXPECT_EQ(mixed_sends("BeamerCount=1\nBeamerIP0=10.0.0.0\nBeamerPort0=1001\n"
                          "BeamerProtocol0=UDP\nBeamerData0=4161\n",
                          by_address),
              std::vector<std::string>{"10.0.0.0"});
}

}  // namespace
}  // namespace ruvo::ctl
