#include "events/place_record.h"

#include <algorithm>

namespace ruvo {
namespace {

Property event_property(std::string_view field) {
    if (field == "XMLfield") return Property::kTrigger;
    if (field == "Delay") return Property::kEventDelay;
    return Property::kNone;
}

Property step_property(std::string_view field) {
    if (field == "Protocol") return Property::kProtocol;
    if (field == "IP") return Property::kIp;
    if (field == "Port") return Property::kPort;
    if (field == "Data") return Property::kData;
    if (field == "Delay") return Property::kStepDelay;
    return Property::kNone;
}

}  // namespace

std::size_t created_steps(const EventDefinition& definition, WordSize word) {
    if (definition.kind != kFieldKey || definition.field != "Count") return 0;
    const std::int32_t count = int32_of(definition.value, word);
    return count < 1 ? 0 : static_cast<std::size_t>(std::min(count, kMaxSubCommands));
}

Placement place_record(const EventDefinition& definition, std::size_t steps, WordSize word) {
    if (definition.kind == kFieldKey) return {.property = event_property(definition.field)};
    if (definition.kind != kIndexedKey) return {};
    // The index is read before the field is looked at, so a malformed one is
    // reported whatever the field.
    const std::uint32_t index = index_of(definition.index, word);
    if (index >= steps) return {.property = Property::kBeyondCount, .step = index};
    return {.property = step_property(definition.field), .step = index};
}

bool is_built_in_event(std::string_view name) {
    return name == "PowerOn" || name == "DVIConnected" || name == "DVIDisconnected";
}

}  // namespace ruvo
