#pragma once

#include "ruvoctl/settings_source.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ruvo::ctl {

inline constexpr std::array<std::string_view, 7> kFieldWords = {
    "Count", "XMLfield", "Protocol", "Delay", "IP", "Port", "Data"};
// The keys of the default settings that name no event; nothing reads them.
inline constexpr std::array<std::string_view, 3> kPlainKeys = {
    "EnableEvents", "FastCableDetectEvents", "DataEncode"};
inline constexpr std::array<std::string_view, 3> kBuiltInEvents = {"PowerOn", "DVIConnected",
                                                                   "DVIDisconnected"};

bool is_event_field(std::string_view field);  // Count, XMLfield
bool is_step_field(std::string_view field);   // Protocol, IP, Port, Data

// Only digits, at least one.
bool is_number(std::string_view text);
// The same, with a sign in front or without.
bool is_plain_number(std::string_view text);
// A number, and whatever behind it.
bool begins_with_number(std::string_view value);

// How a person reads a key: the last field word that a number or nothing follows.
struct MeantKey {
    std::string_view name;
    std::string_view field;
    std::string_view index;
};
std::optional<MeantKey> meant_key(std::string_view key);

// The event names of a file, to find the one that a key was meant for.
class KnownNames {
  public:
    explicit KnownNames(const SettingsSource& source);

    // Built in, or with a Count of its own.
    bool contains(std::string_view name) const;
    const std::vector<std::string>& names() const { return names_; }
    // Also those that have indexed steps only.
    bool has_steps(std::string_view name) const;
    // The longest known name that a key begins with, letters of either case being alike.
    std::optional<std::string> beginning_of(std::string_view key) const;

  private:
    std::vector<std::string> names_;
    std::unordered_map<std::string, std::string> by_lower_case_;
    std::unordered_map<std::string_view, bool> with_steps_;
};

std::string lower_case(std::string_view text);

}  // namespace ruvo::ctl
