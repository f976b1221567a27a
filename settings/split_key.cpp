#include "settings/split_key.h"

#include <array>

namespace ruvo {
namespace {

// The order decides keys that hold two field words.
constexpr std::array<std::string_view, 7> kFields = {"Count", "XMLfield", "Protocol", "Delay",
                                                     "IP",    "Port",     "Data"};

}  // namespace

EventDefinition split_key(std::string_view key, std::string_view value) {
    EventDefinition definition;
    definition.value = value;
    for (const std::string_view field : kFields) {
        const auto position = key.find(field);
        // A field word at the beginning passes the whole word over, even when it
        // occurs again.
        if (position == std::string_view::npos || position == 0) continue;
        definition.name = key.substr(0, position);
        definition.field = field;
        definition.index = key.substr(position + field.size());
        definition.kind = definition.index.empty() ? kFieldKey : kIndexedKey;
        return definition;
    }
    definition.name = key;
    return definition;
}

}  // namespace ruvo
