#pragma once

#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/check/diagnostic.h"
#include "ruvoctl/settings_source.h"

#include <string>
#include <vector>

namespace ruvo::ctl {

// The text with the edits made; they must not overlap. Edits at one place are made in
// their order.
std::string apply_edits(const std::string& text, std::vector<Edit> edits);

// What the edits of one diagnostic make of the lines they touch, as a person reads it:
// corrected lines, "(remove line 3)" and "(add) ...".
std::vector<std::string> corrected_lines(const SettingsSource& source,
                                         const std::vector<Edit>& edits);

// The settings with every fix made that `check` knows, and with those that the corrected
// settings then need. Only what a person has to decide is left.
std::string corrected_copy(const SettingsSource& source, const CheckOptions& options);

// The difference of two texts as `diff -u` shows it, without its two lines of file names;
// safe for a terminal. Empty when there is none.
std::string unified_difference(const std::string& before, const std::string& after);

}  // namespace ruvo::ctl
