#pragma once

#include "ruvoctl/plan/plan.h"
#include "ruvoctl/settings_source.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// What a settings file does in a given world when its events are triggered. A file that
// takes no effect has no events.

// Every event of the file.
Plan plan_all(const SettingsSource& source, const World& world);

// The event that answers to a trigger name (in a test run to its own name); no events
// when there is none.
Plan plan_event(const SettingsSource& source, const World& world, std::string_view name);

// What a client's bytes on the command port cause.
Plan plan_request(const SettingsSource& source, const World& world, std::string_view bytes);

// The names by which the file's events are triggered, in list order.
std::vector<std::string> trigger_names(const SettingsSource& source, const World& world);

// Whether an event would answer to the name if its Count did not read as 0 or less.
bool is_switched_off(const SettingsSource& source, const World& world, std::string_view name);

// The Count by which it is switched off, as it is written; nothing when it is not.
std::optional<std::string> switching_count(const SettingsSource& source, const World& world,
                                           std::string_view name);

}  // namespace ruvo::ctl
