#include "core/local_time.h"
#include "ruvoctl/common_options.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/input_text.h"
#include "ruvoctl/named_choice.h"
#include "ruvoctl/nearest_word.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/output/style.h"
#include "ruvoctl/plan/escaped_bytes.h"
#include "ruvoctl/plan/local_time_text.h"
#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/plan/plan_json.h"
#include "ruvoctl/plan/plan_status.h"
#include "ruvoctl/plan/plan_svg.h"
#include "ruvoctl/plan/plan_text.h"
#include "ruvoctl/plan/timeline.h"
#include "ruvoctl/settings_source.h"
#include "ruvoctl/status_report.h"
#include "ruvoctl/verbs.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ruvo::ctl {
namespace {

constexpr const char* kPlanExamples = R"(Examples:
  ruvoctl plan -f ruvo.txt PowerOn           every byte of the event, where and when
  ruvoctl plan -f ruvo.txt --all             of every event of the file
  ruvoctl plan --status status.txt PowerOn   with the device's status items
  ruvoctl plan --uptime 60 DVIConnected      while the device still powers on
  ruvoctl plan --disabled=run PowerOn        switched off between trigger and run
  ruvoctl plan --trigger-text 'PowerOn\n'    what these bytes on the command port cause
  ruvoctl plan --test PowerOn                by the rules of a test run
  ruvoctl plan --timeline PowerOn            the steps over time
  ruvoctl plan --format svg PowerOn > p.svg  the same as a picture

Times count from the moment the trigger is taken for lookup: the earliest is the
configured delay; the latest adds up to 0.1 s for the status service, where it exceeds
the event's delay, and the 250 ms between two looks at the queue. That is when a send
begins. The bytes of a TCP send leave up to 2 s later, when the connection is there; a
status variant fetches the report first, which takes 6 s at most (connect, send and
receive, 2 s each), and by TCP connects after that.

Exit status: 0 something is sent and nothing is lost; 1 a file can't be read; 2 wrong
usage; 3 the file is void, the event is not there or a step is lost; 4 nothing is sent,
and deliberately so.)";

enum class Format { kText, kJson, kSvg };

struct Options {
    CommonOptions common;
    std::string event;
    bool all = false;
    std::string trigger_text;
    bool names = false;
    std::string now;
    std::int64_t uptime_s = 3600;
    std::string status_file;
    SwitchPosition switch_position = SwitchPosition::kOn;
    WordSize word = kOwnWord;
    Format format = Format::kText;
    bool timeline = false;
    bool trigger_given = false;
};

World world_of(const Options& options) {
    World world;
    world.local_time =
        options.now.empty() ? local_time_now().calendar : *parse_local_time(options.now);
    world.uptime_s = options.uptime_s;
    if (!options.status_file.empty()) world.status = status_report(read_input(options.status_file));
    world.switch_position = options.switch_position;
    world.test = options.common.test;
    world.word = options.word;
    return world;
}

void tell_of_few_items(const World& world, const std::string& file) {
    if (!world.status || is_taken_over(*world.status)) return;
    fmt::print(stderr,
               "ruvoctl: {} has {} status items; the daemon takes a report over from {} on, so "
               "this plan has none\n",
               text_of(file), world.status->items.size(), kTooFewStatusItems + 1);
}

// A name with bytes that can't be typed may be given as it is printed.
Plan plan_named(const SettingsSource& source, const World& world, const std::string& name) {
    Plan plan = plan_event(source, world, name);
    if (!plan.events.empty()) return plan;
    const auto bytes = escaped_bytes(name);
    if (!bytes || *bytes == name) return plan;
    Plan escaped = plan_event(source, world, *bytes);
    if (escaped.events.empty()) return plan;
    fmt::print(stderr, "ruvoctl: \"{}\" is taken as the name with its escapes replaced\n",
               text_of(name));
    return escaped;
}

Plan make_plan(const SettingsSource& source, const World& world, const Options& options) {
    if (options.all) return plan_all(source, world);
    if (!options.trigger_given) return plan_named(source, world, options.event);
    return plan_request(source, world, *escaped_bytes(options.trigger_text));
}

// What was looked up in vain; nothing when something was found or nothing was looked up.
std::optional<std::string> name_not_found(const Plan& plan, const Options& options) {
    if (options.all || plan.voided || !plan.events.empty()) return {};
    if (!options.trigger_given) return options.event;
    if (!plan.trigger->text) return {};
    return plan.trigger->text->substr(0, plan.trigger->text->size() - 1);
}

std::string hint(const SettingsSource& source, const World& world, std::string_view name) {
    const auto names = trigger_names(source, world);
    const std::string nearest = nearest_word(name, names);
    if (!nearest.empty()) return fmt::format("; did you mean \"{}\"?", text_of(nearest));
    return names.empty() ? "; the file has no event" : "; ruvoctl plan --names lists the events";
}

// Returns the exit status: a number that only happens to read as 0 is no intention.
int report_switched_off(const std::string& name, const std::string& count, WordSize word) {
    const bool meant = std::strtoll(count.c_str(), nullptr, 10) <= 0;
    fmt::print(
        stderr, "ruvoctl: the event \"{}\" is switched off by its Count{}: nothing is sent\n",
        text_of(name),
        meant ? ""
              : fmt::format(", whose \"{}\" reads as {}", text_of(count), int32_of(count, word)));
    return meant ? kNothingToSend : kProblemsFound;
}

// While the switch is off no name is looked up, so none can be wrong.
bool is_refused(const World& world) {
    return world.switch_position == SwitchPosition::kOffWhenTriggered && !world.test;
}

int report_refused(const SettingsSource& source, const World& world, const std::string& name) {
    fmt::print(stderr,
               "ruvoctl: no event answers to \"{}\", but events are switched off: the daemon "
               "replies \"Event Disabled, skip ...\" to any name and queues nothing{}\n",
               text_of(name), hint(source, world, name));
    return kNothingToSend;
}

// Returns the exit status.
int report_not_found(const SettingsSource& source, const World& world, const std::string& name) {
    if (const auto count = switching_count(source, world, name)) {
        return report_switched_off(name, *count, world.word);
    }
    if (is_refused(world)) return report_refused(source, world, name);
    fmt::print(stderr, "ruvoctl: no event answers to \"{}\": the daemon {} and sends nothing{}\n",
               text_of(name), world.test ? "says that it calls the event" : "echoes the trigger",
               hint(source, world, name));
    return kProblemsFound;
}

std::size_t terminal_columns() {
    const char* const text = std::getenv("COLUMNS");
    const std::string_view columns = text == nullptr ? "" : text;
    std::size_t number = 0;
    (void)std::from_chars(columns.data(), columns.data() + columns.size(), number);
    return number == 0 ? 80 : std::min<std::size_t>(number, 1000);
}

std::string text_output(const Plan& plan, const Options& options) {
    const Style style(options.common.color, stdout);
    if (!options.timeline) return plan_text(plan, options.common.file, style);
    return plan_preface(plan, options.common.file, style) +
           timeline(plan, terminal_columns(), style) + summary_text(plan, style);
}

std::string output(const Plan& plan, const Options& options) {
    if (options.common.json || options.format == Format::kJson) {
        return plan_json(plan, options.common.file).dump(2) + "\n";
    }
    return options.format == Format::kSvg ? plan_svg(plan) : text_output(plan, options);
}

int run_plan(const Options& options) {
    const SettingsSource source = read_source(read_input(options.common.file));
    const World world = world_of(options);
    tell_of_few_items(world, options.status_file);
    const Plan plan = make_plan(source, world, options);
    fmt::print("{}", output(plan, options));
    const auto missing = name_not_found(plan, options);
    return missing ? report_not_found(source, world, *missing) : plan_status(plan);
}

std::vector<std::string> read_names(const Options& options) {
    World world;
    world.test = options.common.test;
    world.word = options.word;
    return trigger_names(read_source(read_input(options.common.file)), world);
}

int print_names_json(const Options& options) {
    fmt::print("{}\n", names_json(read_names(options), options.common.file).dump(2));
    return kAsExpected;
}

// For shells that complete an event's name.
int print_names(const Options& options) {
    if (options.common.json) return print_names_json(options);
    for (const std::string& name : read_names(options)) {
        if (!name.empty()) fmt::print("{}\n", text_of(name));
    }
    return kAsExpected;
}

constexpr std::int64_t kMaxUptimeSeconds = 1'000'000'000'000;

std::string why_no_local_time(const std::string& text) {
    return parse_local_time(text) ? "" : "a time is written YYYY-MM-DD HH:MM:SS";
}

std::string why_no_escaped_text(const std::string& text) {
    return escaped_bytes(text) ? "" : "an escape other than \\r \\n \\t \\\\ \\xNN";
}

void add_world_options(Verb& verb, Options& options) {
    static const std::map<std::string, SwitchPosition> positions{
        {"trigger", SwitchPosition::kOffWhenTriggered}, {"run", SwitchPosition::kOffBeforeRun}};
    verb.add_option("--now", options.now, "The local time, \"YYYY-MM-DD HH:MM:SS\" (now)",
                    {.type_name = "TIME", .check = why_no_local_time});
    verb.add_number("--uptime", options.uptime_s, kMaxUptimeSeconds,
                    "The uptime as the daemon last measured it, which it does once a second",
                    {.type_name = "SECONDS", .shows_default = true});
    verb.add_option("--status", options.status_file,
                    "The items of the status service, a line name:value each",
                    {.type_name = "FILE"});
    verb.add_taker("--disabled",
                   [&options](const std::string& when) {
                       options.switch_position = named_choice("--disabled", when, positions);
                   },
                   "Events are off when triggered (trigger), or switched off before the run (run)",
                   {.type_name = "WHEN"});
    add_word_option(verb, [&options](WordSize word) { options.word = word; });
}

void add_output_form(Verb& verb, Options& options) {
    static const std::map<std::string, Format> formats{
        {"text", Format::kText}, {"json", Format::kJson}, {"svg", Format::kSvg}};
    verb.add_taker("--format",
                   [&options](const std::string& form) {
                       options.format = named_choice("--format", form, formats);
                   },
                   "Print text, json or svg (a picture)", {.type_name = "FORM"});
    verb.add_flag("--timeline", options.timeline, "Draw the steps over time");
}

void add_subject(Verb& verb, Options& options) {
    verb.add_option("EVENT", options.event, "The name that triggers the event");
    verb.add_flag("--all", options.all, "Every event of the file");
    verb.add_option("--trigger-text", options.trigger_text,
                    "What a client sends; \\r \\n \\t \\\\ \\xNN stand for bytes",
                    {.type_name = "TEXT", .check = why_no_escaped_text, .takes_empty = true});
    verb.add_flag("--names", options.names, "Only print the names that trigger events");
}

// Of options that exclude one another at most one may be given; says whether one is.
bool one_given(const Verb& verb, std::initializer_list<const char*> names) {
    std::vector<std::string> given;
    for (const char* const name : names) {
        if (verb.is_given(name)) given.emplace_back(name);
    }
    if (given.size() > 1) throw UsageError(given[0] + " excludes " + given[1]);
    return !given.empty();
}

// Names need no world and have no form but a list.
void check_names(const Verb& verb) {
    for (const char* const other :
         {"--now", "--uptime", "--status", "--disabled", "--format", "--timeline"}) {
        (void)one_given(verb, {"--names", other});
    }
}

void check_combination(const Verb& verb, const Options& options) {
    check_names(verb);
    if (options.common.file == "-" && options.status_file == "-") {
        throw UsageError("--file and --status: only one of them can read standard input");
    }
    (void)one_given(verb, {"--json", "--format", "--timeline"});
    (void)one_given(verb, {"--test", "--trigger-text"});
    if (!one_given(verb, {"EVENT", "--all", "--trigger-text", "--names"})) {
        throw UsageError("EVENT, --all or --trigger-text is required");
    }
}

}  // namespace

void declare_plan(Verb verb) {
    auto options = std::make_shared<Options>();
    add_file_option(verb, options->common);
    add_test_option(verb, options->common);
    add_output_options(verb, options->common);
    add_subject(verb, *options);
    add_world_options(verb, *options);
    add_output_form(verb, *options);
    verb.set_footer(kPlanExamples);
    verb.when_chosen([verb, options] {
        check_combination(verb, *options);
        options->trigger_given = verb.is_given("--trigger-text");
        return [options] { return options->names ? print_names(*options) : run_plan(*options); };
    });
}

}  // namespace ruvo::ctl
