#pragma once

#include <cstdint>
#include <deque>
#include <string>

namespace ruvo {

// Kinds of a settings line's key.
inline constexpr std::uint32_t kPlainKey = 0;    // no known field word
inline constexpr std::uint32_t kFieldKey = 1;    // ends with a field word
inline constexpr std::uint32_t kIndexedKey = 2;  // a field word and an index behind it

// One settings line. Nothing in it is converted or checked.
struct EventDefinition {
    std::uint32_t kind = kPlainKey;
    std::string name;   // the key up to the field word; the whole key of a plain one
    std::string field;  // "Count", "XMLfield", "Protocol", "Delay", "IP", "Port", "Data" or empty
    std::string index;  // what follows the field word
    std::string value;

    bool operator==(const EventDefinition&) const = default;
};

// The lines of one settings file, in file order.
using EventDefinitions = std::deque<EventDefinition>;

}  // namespace ruvo
