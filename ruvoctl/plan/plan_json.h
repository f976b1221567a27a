#pragma once

#include "ruvoctl/plan/plan.h"

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace ruvo::ctl {

// The document "ruvoctl.plan" of a plan; `file` is the settings file's name.
nlohmann::ordered_json plan_json(const Plan& plan, std::string_view file);

}  // namespace ruvo::ctl
