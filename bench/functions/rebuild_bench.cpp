// What a changed settings file costs: its lines, the list, the texts that mirror both.

#include "core/file.h"
#include "events/build_event_list.h"
#include "events/event_list_text.h"
#include "settings/settings_file.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

namespace ruvo {
namespace {

void append(std::string& text, std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces) text += piece;
}

// Events of eight steps: 42 lines each.
std::string settings_of(std::int64_t lines) {
    std::string text;
    for (std::int64_t line = 0; line < lines;) {
        const std::string number = std::to_string(line / 42);
        append(text,
               {"Event", number, "Count=8\nEvent", number, "XMLfield=Trigger ", number, "\n"});
        line += 2;
        for (int step = 0; step < 8 && line < lines; ++step, line += 5) {
            const std::string n = std::to_string(step);
            append(text, {"Event", number, "IP", n, "=192.168.10.20\n"});
            append(text, {"Event", number, "Port", n, "=5000\n"});
            append(text, {"Event", number, "Protocol", n, "=UDP\n"});
            append(text, {"Event", number, "Data", n, "=504F574552204F4E0D\n"});
            append(text, {"Event", number, "Delay", n, "=100\n"});
        }
    }
    return text;
}

EventDefinitions definitions_of(const std::string& text) {
    std::string copy = text;
    const UniqueFile file(::fmemopen(copy.data(), copy.size(), "r"));
    return read_settings(file.get());
}

void BM_read_settings(benchmark::State& state) {
    const std::string text = settings_of(state.range(0));
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(definitions_of(text));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_read_settings)->RangeMultiplier(10)->Range(10, 100'000)->Complexity();

void BM_build_event_list(benchmark::State& state) {
    const EventDefinitions definitions = definitions_of(settings_of(state.range(0)));
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(build_event_list(definitions));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_build_event_list)->RangeMultiplier(10)->Range(10, 100'000)->Complexity();

void BM_event_list_text(benchmark::State& state) {
    const EventList list = build_event_list(definitions_of(settings_of(state.range(0))));
    for ([[maybe_unused]] auto _ : state) {
        for (const EventEntry& entry : list) benchmark::DoNotOptimize(event_list_line(entry));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_event_list_text)->RangeMultiplier(10)->Range(10, 100'000)->Complexity();

}  // namespace
}  // namespace ruvo
