#pragma once

#include "ruvoctl/check/data_checks.h"
#include "ruvoctl/output/style.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// A Data value and what becomes of it.
struct DataReport {
    std::string value;
    std::string bytes;  // what it stands for
    std::string sent;   // what of that leaves when macros are left as they are
    std::vector<DataFinding> findings;
};

DataReport examine_data(std::string value);

// kProblemsFound when a finding is an error, else kAsExpected.
int exit_status_of(const DataReport& report);

// "all 9 bytes leave as they are", what leaves in their place, or "it leaves with its macros
// replaced".
std::string describe_sent(const DataReport& report);

// The findings with their effects and corrected values.
void print_findings(std::FILE* stream, const DataReport& report, const Style& style);

nlohmann::ordered_json findings_json(const DataReport& report);

}  // namespace ruvo::ctl
