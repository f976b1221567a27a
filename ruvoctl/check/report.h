#pragma once

#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/output/style.h"
#include "ruvoctl/settings_source.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace ruvo::ctl {

// One file and what was found in it.
struct CheckedFile {
    std::string path;
    SettingsSource source;
    CheckResult result;
};

// FILE:LINE:COLUMN: severity[id]: cause, then "effect:" and "fix:" lines; at the end the
// summary.
std::string report_text(const CheckedFile& file, const Style& style);

// "3 events, 9 sends planned, 4 arrive as written; 1 fatal, 6 errors".
std::string summary_text(const CheckSummary& summary);

nlohmann::ordered_json report_json(const std::vector<CheckedFile>& files);

// SARIF 2.1.0, as code hosts and editors read it.
nlohmann::ordered_json report_sarif(const std::vector<CheckedFile>& files);

// What --explain prints of a check.
std::string explanation_text(std::string_view id, const Style& style);

}  // namespace ruvo::ctl
