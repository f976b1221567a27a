#pragma once

#include "core/number_text.h"
#include "events/status_reply.h"
#include "ruvoctl/check/diagnostic.h"
#include "ruvoctl/settings_source.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ruvo::ctl {

struct CheckOptions {
    const StatusVariables* items = nullptr;  // what the device reports, null when unknown
    std::optional<WordSize> word;            // of the device, nothing when unknown
    bool test = false;                       // by the rules of a test run
    // Addresses or host names that a corrected copy replaces, and by what.
    std::map<std::string, std::string> addresses;
};

struct CheckSummary {
    std::size_t lines = 0;
    std::size_t lines_without_effect = 0;  // settings that change nothing
    std::size_t events = 0;
    std::size_t sends_planned = 0;
    std::size_t sends_as_written = 0;
    std::size_t fatal = 0;
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t information = 0;
};

struct CheckResult {
    std::vector<Diagnostic> diagnostics;  // by their place in the file
    CheckSummary summary;
};

// Says what the daemon will do with a settings file that its author did not mean.
CheckResult check_settings(const SettingsSource& source, const CheckOptions& options);

}  // namespace ruvo::ctl
