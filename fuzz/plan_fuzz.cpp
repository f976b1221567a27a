#include "ruvoctl/output/style.h"
#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/plan/plan_json.h"
#include "ruvoctl/plan/plan_status.h"
#include "ruvoctl/plan/plan_svg.h"
#include "ruvoctl/plan/plan_text.h"
#include "ruvoctl/plan/timeline.h"
#include "ruvoctl/status_report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace ruvo::ctl {
namespace {

// An input is settings, this line, and the items of a status service; without the line it
// is all settings and the service is not known.
constexpr std::string_view kSeparator = "\n--status--\n";

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

bool is_fit_for_terminal(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) {
        return byte == '\n' || static_cast<unsigned char>(byte) >= ' ';
    });
}

void render(const Plan& plan) {
    const Style plain(ColorChoice::kNever, stdout);
    require(is_fit_for_terminal(plan_text(plan, "ruvo.txt", plain)), "text is printable");
    require(is_fit_for_terminal(timeline(plan, 80, plain)), "a timeline is printable");
    require(is_fit_for_terminal(plan_svg(plan)), "a picture is printable");
    // Throws when a text in it is no UTF-8.
    require(!plan_json(plan, "ruvo.txt").dump().empty(), "a plan is a document");
    const PlanSummary summary = summarize(plan);
    require(summary.steps == summary.sends + summary.skipped + summary.lost,
            "every step has one fate");
    (void)plan_status(plan);
}

// What an event is said to send when it is planned alone is what is said of it among all.
void plan_alone(const SettingsSource& source, const World& world, const PlannedEvent& event) {
    const std::string& name = world.test ? event.name : event.trigger;
    const Plan alone = plan_event(source, world, name);
    require(!alone.events.empty(), "a planned event is found");
    if (event.outcome != EventOutcome::kRuns) return;
    require(alone.events.front().line == event.line, "an event that runs is the one found");
    if (world.test) return;
    const Plan requested = plan_request(source, world, name + "\n");
    require(!requested.events.empty() && requested.events.front().line == event.line,
            "an event that runs can be triggered");
}

void plan_in(const SettingsSource& source, const World& world) {
    const Plan plan = plan_all(source, world);
    render(plan);
    // A file has as many events as it likes; the first ones say enough.
    const std::size_t count = std::min<std::size_t>(plan.events.size(), 8);
    for (std::size_t i = 0; i < count; ++i) plan_alone(source, world, plan.events[i]);
    (void)is_switched_off(source, world, "PowerOn");
}

// The kinds of worlds take turns, so that each input meets one of its own.
World world_for(std::size_t kind) {
    World world;
    world.local_time.tm_mday = 1;
    world.test = kind % 2 == 1;
    world.uptime_s = kind % 3 == 0 ? 60 : 3600;
    world.switch_position = static_cast<SwitchPosition>(kind / 2 % 3);
    world.word = kind / 6 % 2 == 0 ? WordSize::k64 : WordSize::k32;
    return world;
}

void try_input(std::string_view input) {
    const std::size_t separator = input.find(kSeparator);
    World world = world_for(input.size());
    if (separator != std::string_view::npos) {
        world.status = status_report(input.substr(separator + kSeparator.size()));
    }
    plan_in(read_source(std::string(input.substr(0, separator))), world);
    render(plan_request(read_source(""), world, input));
}

}  // namespace
}  // namespace ruvo::ctl

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ruvo::ctl::try_input({reinterpret_cast<const char*>(data), size});
    return 0;
}
