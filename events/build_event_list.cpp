#include "events/build_event_list.h"

#include "core/time_units.h"
#include "events/hex_to_bytes.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ruvo {
namespace {

// The entries of one name. They get the same records and differ in nothing but their number
// of steps, so the longest is filled and the others are made after it: a name may have as
// many entries and as many records as the file has room for.
class Namesakes {
  public:
    void add(EventEntry* entry) {
        if (entries_.empty() || entry->subCommands.size() > longest_->subCommands.size())
            longest_ = entry;
        entries_.push_back(entry);
    }

    [[nodiscard]] EventEntry& longest() const { return *longest_; }

    [[nodiscard]] std::size_t count_with_step(std::size_t index) const {
        return static_cast<std::size_t>(std::count_if(
            entries_.begin(), entries_.end(),
            [index](const EventEntry* entry) { return index < entry->subCommands.size(); }));
    }

    void make_alike() const {
        for (EventEntry* entry : entries_) {
            if (entry != longest_) copy_longest(*entry);
        }
    }

  private:
    void copy_longest(EventEntry& entry) const {
        entry.xmlField = longest_->xmlField;
        entry.delay = longest_->delay;
        const auto steps = static_cast<std::ptrdiff_t>(entry.subCommands.size());
        std::copy_n(longest_->subCommands.begin(), steps, entry.subCommands.begin());
    }

    std::vector<EventEntry*> entries_;
    EventEntry* longest_ = nullptr;
};

// Looks entries up by name: a file has as many records as it likes.
class EntriesByName {
  public:
    explicit EntriesByName(EventList& list) {
        for (EventEntry& entry : list) entries_[entry.name].add(&entry);
    }
    EntriesByName(const EntriesByName&) = delete;
    EntriesByName& operator=(const EntriesByName&) = delete;

    // Null for a name without an entry. The records of an event follow each other as a
    // rule, so the last answer is kept. The name must outlive the next call.
    const Namesakes* find(std::string_view name) {
        if (name != last_name_ || !has_last_) {
            const auto found = entries_.find(name);
            last_ = found == entries_.end() ? nullptr : &found->second;
            last_name_ = name;
            has_last_ = true;
        }
        return last_;
    }

    void make_namesakes_alike() const {
        for (const auto& [name, namesakes] : entries_) namesakes.make_alike();
    }

  private:
    std::unordered_map<std::string_view, Namesakes> entries_;
    std::string_view last_name_;
    const Namesakes* last_ = nullptr;
    bool has_last_ = false;
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
void set_step_delay(EventEntry& entry, std::uint32_t index, std::int32_t delay_ms) {
    SubCommand& step = entry.subCommands[index];
    step.delayNs = delay_ms * kNsPerMs;
    step.delayFromExecNs =
        step.delayNs + (index > 0 ? entry.subCommands[index - 1].delayFromExecNs : 0);
}

// The listener hears of the delay from each entry that has the step.
void tell_delay(const Namesakes& namesakes, std::uint32_t index, const DelayListener& on_delay) {
    if (!on_delay) return;
    const std::int64_t from_exec_ns = namesakes.longest().subCommands[index].delayFromExecNs;
    for (std::size_t times = namesakes.count_with_step(index); times > 0; --times) {
        on_delay(static_cast<std::int32_t>(index), from_exec_ns);
    }
}

void set_event_delay(EventEntry& entry, std::int32_t delay_s) {
    entry.delay = delay_s;
    // A built-in event answers to its own name again, unless its XMLfield line follows.
    if (is_built_in_event(entry.name)) entry.xmlField = entry.name;
}

void fill_in(const Namesakes& namesakes, const EventDefinition& definition,
             const DelayListener& on_delay, WordSize word) {
    EventEntry& entry = namesakes.longest();
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
            set_step_delay(entry, index, int32_of(value, word));
            tell_delay(namesakes, index, on_delay);
            break;
    }
}

}  // namespace

EventList build_event_list(const EventDefinitions& definitions, const DelayListener& on_delay,
                           WordSize word) {
    EventList list = create_entries(definitions, word);
    EntriesByName entries(list);
    for (const EventDefinition& definition : definitions) {
        if (const Namesakes* const namesakes = entries.find(definition.name)) {
            fill_in(*namesakes, definition, on_delay, word);
        }
    }
    entries.make_namesakes_alike();
    return list;
}

}  // namespace ruvo
