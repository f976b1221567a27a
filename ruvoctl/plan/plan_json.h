#pragma once

#include "ruvoctl/plan/plan.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// The document "ruvoctl.plan" of a plan; `file` is the settings file's name.
nlohmann::ordered_json plan_json(const Plan& plan, std::string_view file);

// The document "ruvoctl.names" of the names by which a file's events are triggered.
nlohmann::ordered_json names_json(const std::vector<std::string>& names, std::string_view file);

}  // namespace ruvo::ctl
