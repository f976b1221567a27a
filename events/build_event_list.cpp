#include "events/build_event_list.h"

#include "core/number_text.h"
#include "events/hex_to_bytes.h"

#include <algorithm>
#include <string>
#include <utility>

namespace ruvo {
namespace {

constexpr std::int64_t kNsPerMs = 1000000;

bool is_built_in(const std::string& name) {
    return name == "PowerOn" || name == "DVIConnected" || name == "DVIDisconnected";
}

EventList create_entries(const EventDefinitions& definitions) {
    EventList list;
    for (const EventDefinition& definition : definitions) {
        if (definition.kind != kFieldKey || definition.field != "Count") continue;
        const std::int32_t count = int32_of(definition.value);
        if (count < 1) continue;  // the event is switched off
        EventEntry entry;
        entry.name = definition.name;
        entry.xmlField = definition.name;
        entry.subCommands.resize(static_cast<std::size_t>(std::min(count, kMaxSubCommands)));
        list.push_back(std::move(entry));
    }
    return list;
}

void set_event_property(EventEntry& entry, const EventDefinition& definition) {
    if (definition.field == "XMLfield") {
        entry.xmlField = definition.value;
    } else if (definition.field == "Delay") {
        entry.delay = int32_of(definition.value);
        // A built-in event answers to its own name again, unless its XMLfield
        // line follows.
        if (is_built_in(entry.name)) entry.xmlField = entry.name;
    }
}

// The neighbour's delay counts as it stands now: delays add up only when the
// settings list them in rising order.
void set_step_delay(EventEntry& entry, std::uint32_t index, const std::string& value,
                    const DelayListener& on_delay) {
    SubCommand& step = entry.subCommands[index];
    step.delayNs = int32_of(value) * kNsPerMs;
    step.delayFromExecNs =
        step.delayNs + (index > 0 ? entry.subCommands[index - 1].delayFromExecNs : 0);
    if (on_delay) on_delay(static_cast<std::int32_t>(index), step.delayFromExecNs);
}

void set_step_property(EventEntry& entry, const EventDefinition& definition,
                       const DelayListener& on_delay) {
    // The index is read before the field is looked at, so a malformed one is
    // reported whatever the field.
    const auto index = static_cast<std::uint32_t>(std::stoul(definition.index));
    if (index >= entry.subCommands.size()) return;
    SubCommand& step = entry.subCommands[index];
    if (definition.field == "Protocol") {
        step.protocol = definition.value;
    } else if (definition.field == "IP") {
        step.ip = definition.value;
    } else if (definition.field == "Port") {
        step.port = definition.value;
    } else if (definition.field == "Data") {
        step.data = hex_to_bytes(definition.value);
    } else if (definition.field == "Delay") {
        set_step_delay(entry, index, definition.value, on_delay);
    }
}

}  // namespace

EventList build_event_list(const EventDefinitions& definitions, const DelayListener& on_delay) {
    EventList list = create_entries(definitions);
    for (const EventDefinition& definition : definitions) {
        for (EventEntry& entry : list) {
            if (entry.name != definition.name) continue;
            if (definition.kind == kFieldKey) set_event_property(entry, definition);
            if (definition.kind == kIndexedKey) set_step_property(entry, definition, on_delay);
        }
    }
    return list;
}

}  // namespace ruvo
