// What a changed settings file costs: its lines, the list, the texts that mirror both.

#include "core/file.h"
#include "events/build_event_list.h"
#include "events/event_list_text.h"
#include "settings/settings_file.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace ruvo {
namespace {

// Events of eight steps: 42 lines each.
std::string settings_of(std::int64_t lines) {
    std::string text;
    for (std::int64_t line = 0; line < lines;) {
        const std::string name = "Event" + std::to_string(line / 42);
        text += name + "Count=8\n" + name + "XMLfield=Trigger " + std::to_string(line / 42) + "\n";
        line += 2;
        for (int step = 0; step < 8 && line < lines; ++step, line += 5) {
            const std::string n = std::to_string(step);
            text += name + "IP" + n + "=192.168.10.20\n" + name + "Port" + n + "=5000\n" + name +
                    "Protocol" + n + "=UDP\n" + name + "Data" + n + "=504F574552204F4E0D\n" + name +
                    "Delay" + n + "=100\n";
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
