// What single texts cost: keys, lines of a status report, requests.

#include "events/status_reply.h"
#include "net/command_request.h"
#include "settings/settings_text.h"
#include "settings/split_key.h"

#include <benchmark/benchmark.h>

#include <string>

namespace ruvo {
namespace {

void BM_split_key(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(split_key("ProjectorProtocol12", "UDP"));
}
BENCHMARK(BM_split_key);

void BM_split_key_without_field(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(split_key("FastCableDetect", "false"));
}
BENCHMARK(BM_split_key_without_field);

void BM_parse_settings_line(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(parse_settings_line("ProjectorData12=504F574552204F4E0D\n"));
    }
}
BENCHMARK(BM_parse_settings_line);

void BM_parse_status_line(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(parse_status_line("input:HDMI 1\n"));
}
BENCHMARK(BM_parse_status_line);

void BM_trigger_request(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(trigger_text(split_request(request_text("PowerOn\n"))));
    }
}
BENCHMARK(BM_trigger_request);

}  // namespace
}  // namespace ruvo
