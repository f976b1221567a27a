#pragma once

#include "core/number_text.h"
#include "settings/event_definition.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

inline constexpr std::int32_t kMaxSubCommands = 128;

// The number of sub-commands of the entry that a record creates, at most
// kMaxSubCommands; 0 for a record that creates none: it is no Count, or its Count
// switches the event off.
std::size_t created_steps(const EventDefinition& definition, WordSize word = kOwnWord);

// What a record changes in an entry that carries its name.
enum class Property {
    kNone,  // the field means nothing in this place
    kTrigger,
    kEventDelay,
    kBeyondCount,  // of a step that the entry has not
    kProtocol,
    kIp,
    kPort,
    kData,
    kStepDelay,
};

struct Placement {
    Property property = Property::kNone;
    std::uint32_t step = 0;  // for an indexed record, also one that changes nothing
};

// Where a record goes in an entry of its name with `steps` sub-commands. Throws what
// index_of throws, whatever the record's field.
Placement place_record(const EventDefinition& definition, std::size_t steps,
                       WordSize word = kOwnWord);

// The events that the device itself triggers; a Delay record of theirs makes them
// answer to their own name.
bool is_built_in_event(std::string_view name);

}  // namespace ruvo
