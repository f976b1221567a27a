#pragma once

#include "events/status_reply.h"
#include "ruvoctl/check/diagnostic.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// What is wrong with one Data value.
struct DataFinding {
    std::string_view id;
    Severity severity = Severity::kError;
    std::size_t position = 0;  // in the value
    std::size_t length = 0;
    std::string cause;
    std::string effect;
    std::optional<std::string> corrected;  // the whole value
};

// Looks at a Data value as it stands in a settings file, without line end. `items` are
// the status items of the device, null when they are not known.
std::vector<DataFinding> check_data(std::string_view value, const StatusVariables* items);

}  // namespace ruvo::ctl
