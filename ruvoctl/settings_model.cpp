#include "ruvoctl/settings_model.h"

#include "events/build_event_list.h"

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace ruvo::ctl {
namespace {

// Which record set which property of which event, step by step through the file.
class ModelBuilder {
  public:
    ModelBuilder(const SettingsSource& source, WordSize word) : source_(source), word_(word) {
        model_.records.resize(source.definitions.size());
    }

    SettingsModel build() && {
        for (std::size_t i = 0; i < source_.definitions.size(); ++i) create_entry(i);
        for (std::size_t i = 0; i < source_.definitions.size(); ++i) place(i);
        model_.list = build_list();
        return std::move(model_);
    }

  private:
    void create_entry(std::size_t record) {
        const EventDefinition& definition = source_.definitions[record];
        const std::size_t steps = created_steps(definition, word_);
        if (steps == 0) return;
        EventModel event;
        event.count_record = record;
        event.steps.resize(steps);
        model_.events_of[definition.name].push_back(model_.events.size());
        model_.events.push_back(std::move(event));
        model_.records[record].fate = Fate::kCreates;
    }

    void place(std::size_t record) {
        const EventDefinition& definition = source_.definitions[record];
        RecordModel& model = model_.records[record];
        if (definition.kind == kPlainKey) return;
        const bool is_count = definition.kind == kFieldKey && definition.field == "Count";
        const auto found = model_.events_of.find(definition.name);
        if (found == model_.events_of.end()) {
            model.fate = is_count ? Fate::kCreatesNone : Fate::kNoEvent;
            return;
        }
        model.event = found->second.front();
        if (is_count) {
            if (model.fate != Fate::kCreates) model.fate = Fate::kCreatesNone;
            return;
        }
        // Of several entries of one name, the first is the one that answers.
        place_in(record, found->second.front());
    }

    void place_in(std::size_t record, std::size_t index) {
        RecordModel& model = model_.records[record];
        EventModel& event = model_.events[index];
        Placement placement;
        try {
            placement = place_record(source_.definitions[record], event.steps.size(), word_);
        } catch (const std::logic_error&) {  // invalid or out of range
            model_.voiding.push_back(record);
            model.fate = Fate::kVoids;
            return;
        }
        model.property = placement.property;
        model.step = placement.step;
        model.fate = fate_of(placement.property);
        apply(record, event, placement);
    }

    static Fate fate_of(Property property) {
        if (property == Property::kNone) return Fate::kNoMeaning;
        return property == Property::kBeyondCount ? Fate::kBeyondCount : Fate::kApplies;
    }

    void apply(std::size_t record, EventModel& event, const Placement& placement) {
        switch (placement.property) {
            case Property::kNone:
            case Property::kBeyondCount:
                return;
            case Property::kTrigger:
                return set(event.trigger_record, record);
            case Property::kEventDelay:
                return set(event.delay_record, record);
            case Property::kProtocol:
                return set(event.steps[placement.step].protocol, record);
            case Property::kIp:
                return set(event.steps[placement.step].ip, record);
            case Property::kPort:
                return set(event.steps[placement.step].port, record);
            case Property::kData:
                return set(event.steps[placement.step].data, record);
            case Property::kStepDelay:
                return set(event.steps[placement.step].delay, record);
        }
    }

    void set(std::optional<std::size_t>& setter, std::size_t record) {
        if (setter && *setter != record) model_.records[*setter].fate = Fate::kOverwritten;
        setter = record;
    }

    EventList build_list() const {
        if (model_.voiding.empty()) return build_event_list(source_.definitions, nullptr, word_);
        EventDefinitions definitions;
        for (std::size_t i = 0; i < source_.definitions.size(); ++i) {
            if (model_.records[i].fate != Fate::kVoids)
                definitions.push_back(source_.definitions[i]);
        }
        return build_event_list(definitions, nullptr, word_);
    }

    const SettingsSource& source_;
    WordSize word_;
    SettingsModel model_;
};

}  // namespace

std::size_t StepModel::first_record() const {
    std::optional<std::size_t> first;
    for (const auto& record : {protocol, ip, port, data, delay}) {
        if (record && (!first || *record < *first)) first = record;
    }
    return first.value();
}

SettingsModel model_settings(const SettingsSource& source, WordSize word) {
    return ModelBuilder(source, word).build();
}

}  // namespace ruvo::ctl
