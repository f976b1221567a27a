// Reads any bytes as a settings file, as the daemon does: from the file to the records, the
// event list, the two mirrors and the list's text.

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/process_state.h"
#include "core/text_cut.h"
#include "events/build_event_list.h"
#include "events/event_list_text.h"
#include "events/hex_to_bytes.h"
#include "fuzz/stand_in_system.h"
#include "settings/load_settings.h"
#include "settings/mirrors.h"
#include "settings/settings_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ruvo::fuzz {
namespace {

constexpr char kUserConfigTool[] = "userconfigtool get";

struct Mode {
    std::int32_t test;
    const char* settings;
    const char* ascii_mirror;
    const char* raw_dump;
    const char* list_text;
};

constexpr std::array<Mode, 2> kModes = {{
    {0, kSettingsPath, "/tmp/ruvo_asc.txt", "/tmp/ruvo_hex.txt", "/tmp/ruvo_event_list.txt"},
    {1, kTestSettingsPath, "/tmp/ruvo_test_asc.txt", "/tmp/ruvo_test_hex.txt",
     "/tmp/ruvo_event_list_test.txt"},
}};

DaemonContext& context() {
    static DaemonContext it;
    return it;
}

// What the input's length chooses: the reading's mode, the switch and the messages.
void set_up(std::size_t size) {
    DaemonContext& c = context();
    c.normalEntries.set({});
    c.testEntries.set({});
    c.eventList.set({});
    c.testEventList.set({});
    c.enable = size / 2 % 2;
    g_debug_flag = size % 16 == 15 ? 1 : 0;
    constexpr std::array<const char*, 5> kAnswers = {"false\n", "true\n", "", "TRUE", "other\n"};
    answer_command(kUserConfigTool, kAnswers[size / 4 % kAnswers.size()]);
    if (size % 64 == 63) answer_no_command(kUserConfigTool);
    for (const Mode& mode : kModes) {
        for (const char* path : {mode.settings, mode.ascii_mirror, mode.raw_dump, mode.list_text})
            remove_file(stand_in_path(path));
    }
}

void load(const Mode& mode) {
    static LogSite failed;
    load_settings(context(), mode.test, failed, "fuzz", 1);
}

// The bytes of an entry's line that reach a file: up to the first zero byte.
std::string written(const std::string& line) { return std::string(until_zero(line)); }

// No line holds a line feed but its own, and what the dump shows reads back as the same
// records: a record of a cut line fills the buffer once more.
void require_dump_reads_back(const EventDefinitions& definitions, const std::string& dump) {
    require(
        static_cast<std::size_t>(std::count(dump.begin(), dump.end(), '\n')) == definitions.size(),
        "the dump has a line for each record");
    const UniqueFile file(open_text(dump));
    require(read_settings(file.get()) == definitions, "the dump reads back as the same records");
}

void require_mirrors(const Mode& mode, const EventDefinitions& definitions) {
    std::string ascii;
    std::string raw;
    for (const EventDefinition& d : definitions) {
        const std::string key = d.name + d.field + d.index + "=";
        raw += key + d.value + "\n";
        const std::string shown = d.field == "Data" ? hex_to_bytes(d.value) : d.value;
        ascii += written(key + shown + "\n");
    }
    require(file_text(stand_in_path(mode.raw_dump)) == raw, "the dump shows the records");
    require(file_text(stand_in_path(mode.ascii_mirror)) == ascii, "the mirror shows the records");
    require_dump_reads_back(definitions, raw);
}

void require_list(const EventDefinitions& definitions, const EventList& list, WordSize word) {
    std::size_t events = 0;
    for (const EventDefinition& d : definitions) events += created_steps(d, word) > 0 ? 1 : 0;
    require(list.size() == events, "every switched-on Count makes an event");
    for (const EventEntry& entry : list) {
        require(!entry.name.empty(), "an event has a name");
        require(!entry.subCommands.empty() && entry.subCommands.size() <= kMaxSubCommands,
                "an event has 1 to 128 steps");
        require(
            entry.t_ns_cread == 0 && entry.t_ns_exec == 0 && entry.has_run == 0 && entry.test == 0,
            "the list's runtime fields are 0");
        require(entry.subCommands.front().delayFromExecNs == entry.subCommands.front().delayNs,
                "the first step's delays are one");
    }
}

// Where one record goes in one entry.
void put(EventEntry& entry, const EventDefinition& d, WordSize word) {
    const auto [property, index] = place_record(d, entry.subCommands.size(), word);
    if (property == Property::kTrigger) entry.xmlField = d.value;
    if (property == Property::kEventDelay) {
        entry.delay = int32_of(d.value, word);
        if (is_built_in_event(entry.name)) entry.xmlField = entry.name;
    }
    if (property <= Property::kBeyondCount) return;
    SubCommand& step = entry.subCommands[index];
    if (property == Property::kProtocol) step.protocol = d.value;
    if (property == Property::kIp) step.ip = d.value;
    if (property == Property::kPort) step.port = d.value;
    if (property == Property::kData) step.data = hex_to_bytes(d.value);
    if (property != Property::kStepDelay) return;
    step.delayNs = int32_of(d.value, word) * std::int64_t{1'000'000};
    step.delayFromExecNs = step.delayNs;
    if (index > 0) step.delayFromExecNs += entry.subCommands[index - 1].delayFromExecNs;
}

// Every record to every entry of its name, one after the other.
EventList built_slowly(const EventDefinitions& definitions, WordSize word) {
    EventList list;
    for (const EventDefinition& d : definitions) {
        const std::size_t steps = created_steps(d, word);
        if (steps == 0) continue;
        EventEntry& entry = list.emplace_back();
        entry.name = entry.xmlField = d.name;
        entry.subCommands.resize(steps);
    }
    for (const EventDefinition& d : definitions) {
        for (EventEntry& entry : list) {
            if (entry.name == d.name) put(entry, d, word);
        }
    }
    return list;
}

// Nothing but the text that its caller expects.
bool refuses(const EventDefinitions& definitions, WordSize word) {
    try {
        const EventList list = build_event_list(definitions, nullptr, word);
        require_list(definitions, list, word);
        require(list == built_slowly(definitions, word), "every record is in its place");
        return false;
    } catch (const std::logic_error& error) {
        require(std::string_view(error.what()) == "stoul", "the exception's text");
        return true;
    }
}

// A list that can't be built leaves the one before and its text.
void require_list_text(const Mode& mode, bool refused) {
    const auto list = (mode.test ? context().testEventList : context().eventList).get();
    require(!refused || list->empty(), "malformed settings leave the list");
    std::string text;
    for (const EventEntry& entry : *list) text += written(event_list_line(entry));
    require(file_text(stand_in_path(mode.list_text)) == text, "the text shows the list");
}

void require_state(const Mode& mode) {
    const auto read = (mode.test ? context().testEntries : context().normalEntries).get();
    // Both mirrors show the normal records.
    require_mirrors(mode, *context().normalEntries.get());
    (void)refuses(*read, WordSize::k32);
    const bool refused = refuses(*read, WordSize::k64);
    require_list_text(mode, refused);
}

void require_records_of(std::string_view text, const EventDefinitions& definitions) {
    const UniqueFile file(open_text(text));
    require(read_settings(file.get()) == definitions, "the store holds the file's records");
    require(
        definitions.size() <= static_cast<std::size_t>(std::count(text.begin(), text.end(), '=')),
        "a record has an = of its own");
}

void try_input(std::string_view text) {
    set_up(text.size());
    const Mode& mode = kModes[text.size() % kModes.size()];
    const std::string path = stand_in_path(mode.settings);
    // Without a file the default one is written.
    if (!text.empty()) write_file(path, text);
    load(mode);
    const auto definitions = (mode.test ? context().testEntries : context().normalEntries).get();
    require_records_of(text.empty() ? file_text(path) : text, *definitions);
    require_state(mode);
    if (text.size() / 2 % 4 != 0) return;

    const auto first = *(mode.test ? context().testEventList : context().eventList).get();
    load(mode);
    require(*(mode.test ? context().testEventList : context().eventList).get() == first,
            "a second reading gives the same list");
    require_state(mode);
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ruvo::fuzz::drop_standard_output();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ruvo::fuzz::try_input({reinterpret_cast<const char*>(data), size});
    return 0;
}
