#include "settings/split_key.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace ruvo {
namespace {

// The order decides keys that hold two field words.
constexpr std::array<std::string_view, 7> kFields = {"Count", "XMLfield", "Protocol", "Delay",
                                                     "IP",    "Port",     "Data"};

constexpr bool is_capital(char character) { return character >= 'A' && character <= 'Z'; }

static_assert(std::all_of(kFields.begin(), kFields.end(),
                          [](std::string_view field) { return is_capital(field[0]); }));

struct Found {
    std::string_view field;
    std::size_t position;
};

using Positions = std::array<std::size_t, kFields.size()>;

// Every word by itself, so that the compiler knows its length and letters.
template <std::size_t... kIndex>
void note_field_at(std::string_view key, std::size_t position, Positions& positions,
                   std::index_sequence<kIndex...> /*all*/) {
    const std::string_view rest = key.substr(position);
    (..., (rest.starts_with(kFields[kIndex])
               ? void(positions[kIndex] = std::min(positions[kIndex], position))
               : void()));
}

// Where each field word stands first. One look at the key's few capitals serves for all
// of them; with a search for each a rebuild of the event list takes a sixth longer.
Positions first_positions(std::string_view key) {
    Positions positions;
    positions.fill(std::string_view::npos);
    for (std::size_t position = 0; position < key.size(); ++position) {
        if (!is_capital(key[position])) continue;
        note_field_at(key, position, positions, std::make_index_sequence<kFields.size()>());
    }
    return positions;
}

// A field word at the beginning passes the whole word over, even when it occurs again.
Found find_field(std::string_view key) {
    const auto positions = first_positions(key);
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        if (positions[i] == std::string_view::npos || positions[i] == 0) continue;
        return {.field = kFields[i], .position = positions[i]};
    }
    return {.field = {}, .position = key.size()};
}

}  // namespace

EventDefinition split_key(std::string_view key, std::string_view value) {
    const auto [field, position] = find_field(key);
    const std::string_view index = key.substr(position + field.size());
    return {.kind = field.empty()   ? kPlainKey
                    : index.empty() ? kFieldKey
                                    : kIndexedKey,
            .name = std::string(key.substr(0, position)),
            .field = std::string(field),
            .index = std::string(index),
            .value = std::string(value)};
}

}  // namespace ruvo
