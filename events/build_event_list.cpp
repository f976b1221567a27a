#include "events/build_event_list.h"

#include "core/time_units.h"
#include "events/hex_to_bytes.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ruvo {
namespace {

// The entries of a name, in list order.
using Entries = std::vector<EventEntry*>;

// Looks entries up by name: a file has as many records as it likes.
class EntriesByName {
  public:
    explicit EntriesByName(EventList& list) {
        for (EventEntry& entry : list) entries_[entry.name].push_back(&entry);
    }
    EntriesByName(const EntriesByName&) = delete;
    EntriesByName& operator=(const EntriesByName&) = delete;

    // The records of an event follow each other as a rule, so the last answer is kept.
    // The name must outlive the next call.
    const Entries& find(std::string_view name) {
        if (name != last_name_ || last_ == nullptr) {
            const auto found = entries_.find(name);
            last_ = found == entries_.end() ? &none_ : &found->second;
            last_name_ = name;
        }
        return *last_;
    }

  private:
    std::unordered_map<std::string_view, Entries> entries_;
    const Entries none_;
    std::string_view last_name_;
    const Entries* last_ = nullptr;
};

EventList create_entries(const EventDefinitions& definitions, WordSize word) {
    EventList list;
    for (const EventDefinition& definition : definitions) {
        const std::size_t steps = created_steps(definition, word);
        if (steps == 0) continue;
        EventEntry entry;
        entry.name = definition.name;
        entry.xmlField = definition.name;
        entry.subCommands.resize(steps);
        list.push_back(std::move(entry));
    }
    return list;
}

// The neighbour's delay counts as it stands now: delays add up only when the
// settings list them in rising order.
void set_step_delay(EventEntry& entry, std::uint32_t index, std::int32_t delay_ms,
                    const DelayListener& on_delay) {
    SubCommand& step = entry.subCommands[index];
    step.delayNs = delay_ms * kNsPerMs;
    step.delayFromExecNs =
        step.delayNs + (index > 0 ? entry.subCommands[index - 1].delayFromExecNs : 0);
    if (on_delay) on_delay(static_cast<std::int32_t>(index), step.delayFromExecNs);
}

void set_event_delay(EventEntry& entry, std::int32_t delay_s) {
    entry.delay = delay_s;
    // A built-in event answers to its own name again, unless its XMLfield line follows.
    if (is_built_in_event(entry.name)) entry.xmlField = entry.name;
}

void fill_in(EventEntry& entry, const EventDefinition& definition, const DelayListener& on_delay,
             WordSize word) {
    const auto [property, index] = place_record(definition, entry.subCommands.size(), word);
    const std::string& value = definition.value;
    switch (property) {
        case Property::kNone:
        case Property::kBeyondCount:
            break;
        case Property::kTrigger:
            entry.xmlField = value;
            break;
        case Property::kEventDelay:
            set_event_delay(entry, int32_of(value, word));
            break;
        case Property::kProtocol:
            entry.subCommands[index].protocol = value;
            break;
        case Property::kIp:
            entry.subCommands[index].ip = value;
            break;
        case Property::kPort:
            entry.subCommands[index].port = value;
            break;
        case Property::kData:
            entry.subCommands[index].data = hex_to_bytes(value);
            break;
        case Property::kStepDelay:
            set_step_delay(entry, index, int32_of(value, word), on_delay);
            break;
    }
}

}  // namespace

EventList build_event_list(const EventDefinitions& definitions, const DelayListener& on_delay,
                           WordSize word) {
    EventList list = create_entries(definitions, word);
    EntriesByName entries(list);
    for (const EventDefinition& definition : definitions) {
        for (EventEntry* entry : entries.find(definition.name)) {
            fill_in(*entry, definition, on_delay, word);
        }
    }
    return list;
}

}  // namespace ruvo
