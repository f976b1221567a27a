// What a trigger costs between the status report and the queue.

#include "events/expanded_copy.h"
#include "events/find_event.h"
#include "execution/due_times.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace ruvo {
namespace {

constexpr std::size_t kSteps = 128;
constexpr std::size_t kDataBytes = 100;

MacroValues some_values() {
    MacroValues values;
    StatusVariables items;
    for (int i = 0; i < 40; ++i) {
        items.emplace_back("item" + std::to_string(i), "value " + std::to_string(i));
    }
    values.status_variables = std::make_shared<const StatusVariables>(std::move(items));
    values.local_time.tm_year = 126;
    values.local_time.tm_mday = 21;
    values.uptime_s = 123456;
    return values;
}

EventEntry entry_of(const std::string& word) {
    EventEntry entry;
    entry.name = "Lamp";
    entry.xmlField = "Lamp on";
    entry.subCommands.resize(kSteps);
    for (SubCommand& step : entry.subCommands) {
        step.ip = "192.168.10.20";
        step.port = "5000";
        step.protocol = "UDP";
        while (step.data.size() + word.size() <= kDataBytes) step.data += word;
        step.delayFromExecNs = 5'000'000;
    }
    return entry;
}

void expand(benchmark::State& state, const std::string& word) {
    const EventEntry entry = entry_of(word);
    const MacroValues values = some_values();
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(expanded_copy(entry, values, 0));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kSteps));
}

void BM_expand_plain_text(benchmark::State& state) { expand(state, "POWER ON. "); }
void BM_expand_escapes(benchmark::State& state) { expand(state, "\\r\\n"); }
void BM_expand_clock_macros(benchmark::State& state) { expand(state, "{{time}}{{date}}"); }
void BM_expand_first_item(benchmark::State& state) { expand(state, "{{item0}}"); }
void BM_expand_last_item(benchmark::State& state) { expand(state, "{{item39}}"); }
void BM_expand_unknown_macros(benchmark::State& state) { expand(state, "{{nothing}}"); }
BENCHMARK(BM_expand_plain_text);
BENCHMARK(BM_expand_escapes);
BENCHMARK(BM_expand_clock_macros);
BENCHMARK(BM_expand_first_item);
BENCHMARK(BM_expand_last_item);
BENCHMARK(BM_expand_unknown_macros);

void BM_find_event(benchmark::State& state) {
    EventList list;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        EventEntry entry;
        entry.name = "Event" + std::to_string(i);
        entry.xmlField = "Trigger " + std::to_string(i);
        list.push_back(std::move(entry));
    }
    const std::string last = list.back().xmlField;
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(find_event(list, last, 0));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_find_event)->RangeMultiplier(10)->Range(10, 10'000)->Complexity();

void BM_due_times(benchmark::State& state) {
    const EventEntry entry = entry_of("ON");
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(due_times(entry.subCommands));
}
BENCHMARK(BM_due_times);

}  // namespace
}  // namespace ruvo
