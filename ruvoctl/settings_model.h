#pragma once

#include "core/number_text.h"
#include "events/event_entry.h"
#include "events/place_record.h"
#include "ruvoctl/settings_source.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ruvo::ctl {

// What becomes of a record.
enum class Fate {
    kPlainKey,     // no field word in its key
    kNoEvent,      // no entry carries its name
    kNoMeaning,    // its field means nothing in this place
    kBeyondCount,  // a step that the entry has not
    kVoids,        // its index is no number: the whole file takes no effect
    kCreates,      // a Count that makes an entry
    kCreatesNone,  // a Count that makes none
    kApplies,      // sets a property
    kOverwritten,  // sets a property that a later record sets again
};

struct RecordModel {
    Fate fate = Fate::kPlainKey;
    std::optional<std::size_t> event;  // the first entry of its name
    Property property = Property::kNone;
    std::uint32_t step = 0;
};

// The records that have set a step's properties.
struct StepModel {
    std::optional<std::size_t> protocol;
    std::optional<std::size_t> ip;
    std::optional<std::size_t> port;
    std::optional<std::size_t> data;
    std::optional<std::size_t> delay;

    bool configured() const { return protocol || ip || port || data || delay; }
    // The first of its records in the file.
    std::size_t first_record() const;
};

struct EventModel {
    std::size_t count_record = 0;
    std::optional<std::size_t> trigger_record;  // its XMLfield, also one that a Delay undoes
    std::optional<std::size_t> delay_record;
    std::vector<StepModel> steps;
};

// What the daemon makes of a settings file, and which line has made what.
struct SettingsModel {
    // As the daemon builds it; records that void the file are left out of it.
    EventList list;
    std::vector<EventModel> events;  // one for each entry of the list
    std::vector<RecordModel> records;
    std::vector<std::size_t> voiding;  // the daemon stops at the first of them
    // The entries of each name, in list order; views into the source.
    std::unordered_map<std::string_view, std::vector<std::size_t>> events_of;

    bool has_event(std::string_view name) const { return events_of.contains(name); }
};

// The source must outlive the model.
SettingsModel model_settings(const SettingsSource& source, WordSize word);

}  // namespace ruvo::ctl
