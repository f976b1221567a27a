// bench-rebuild [LINES...]: reads settings text into records and these into the event list,
// as the daemon does, and by a minimal model, in turns. Prints a line a size:
// {"lines":N,"ruvo_ns":[...],"model_ns":[...]}. Ends with status 1 when the two lists differ.

#include "bench/arguments.h"
#include "bench/rebuild/model.h"
#include "core/file.h"
#include "events/build_event_list.h"
#include "settings/settings_file.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<long, 5> kUsualSizes{10, 100, 1'000, 10'000, 100'000};
constexpr long kSteps = 8;
constexpr long kLinesAtATime = 2'000'000;  // of all runs of a size together
constexpr long kMostRuns = 200;

std::string line_of(std::string_view name, std::string_view field, std::string_view index,
                    std::string_view value) {
    std::string line;
    for (const std::string_view part :
         {name, field, index, std::string_view("="), value, std::string_view("\n")}) {
        line += part;
    }
    return line;
}

// The lines of one event: its name by which it is triggered, and eight steps.
std::vector<std::string> event_lines(long number) {
    const std::string name = "Projector" + std::to_string(number);
    std::vector<std::string> lines{line_of(name, "Count", "", std::to_string(kSteps)),
                                   line_of(name, "XMLfield", "", "Lobby" + name)};
    for (long i = 0; i < kSteps; ++i) {
        const std::string step = std::to_string(i);
        lines.push_back(line_of(name, "IP", step, "192.168.10." + step));
        lines.push_back(line_of(name, "Port", step, "4352"));
        lines.push_back(line_of(name, "Protocol", step, "TCP"));
        lines.push_back(line_of(name, "Data", step, "2531504F5752207B7B74696D657D7D0D"));
        lines.push_back(line_of(name, "Delay", step, "250"));
    }
    return lines;
}

std::string settings_of(long lines) {
    std::string text;
    long written = 0;
    for (long number = 0; written < lines; ++number) {
        for (const std::string& line : event_lines(number)) {
            if (written++ < lines) text += line;
        }
    }
    return text;
}

ruvo::UniqueFile as_file(std::string& text) {
    return ruvo::UniqueFile(::fmemopen(text.data(), text.size(), "r"));
}

struct Rebuilt {
    ruvo::EventDefinitions records;
    ruvo::EventList list;
};

Rebuilt rebuild(std::FILE* file) {
    Rebuilt result{ruvo::read_settings(file), {}};
    result.list = ruvo::build_event_list(result.records);
    return result;
}

// Taking the result down again is not counted.
template <typename Build>
std::int64_t ns_of(std::string& text, Build build) {
    const auto begin = Clock::now();
    const ruvo::UniqueFile file = as_file(text);
    const auto result = build(file.get());
    const std::chrono::nanoseconds taken = Clock::now() - begin;
    return result.list.empty() ? -1 : taken.count();
}

bool lists_are_equal(std::string& text) {
    const Rebuilt ruvo = rebuild(as_file(text).get());
    const ruvo::bench::Model model = ruvo::bench::build_model(as_file(text).get());
    return std::equal(ruvo.list.begin(), ruvo.list.end(), model.list.begin(), model.list.end());
}

std::string json_array(const std::vector<std::int64_t>& numbers) {
    std::string text = "[";
    for (const std::int64_t number : numbers) {
        if (text.size() > 1) text += ',';
        text += std::to_string(number);
    }
    return text += ']';
}

bool measure(long lines) {
    std::string text = settings_of(lines);
    if (!lists_are_equal(text)) {
        std::fprintf(stderr, "bench-rebuild: %ld lines: the model's list is another\n", lines);
        return false;
    }
    std::vector<std::int64_t> ruvo_ns;
    std::vector<std::int64_t> model_ns;
    const long runs = std::clamp(kLinesAtATime / lines, 1L, kMostRuns);
    for (long run = 0; run < runs; ++run) {
        ruvo_ns.push_back(ns_of(text, rebuild));
        model_ns.push_back(ns_of(text, ruvo::bench::build_model));
    }
    std::printf("{\"lines\":%ld,\"ruvo_ns\":%s,\"model_ns\":%s}\n", lines,
                json_array(ruvo_ns).c_str(), json_array(model_ns).c_str());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<long> sizes(kUsualSizes.begin(), kUsualSizes.end());
    if (argc > 1) sizes.clear();
    for (int i = 1; i < argc; ++i) sizes.push_back(ruvo::bench::number_argument(argc, argv, i, 0));
    for (const long size : sizes) {
        if (size < 1 || !measure(size)) return 1;
    }
}
