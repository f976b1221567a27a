#pragma once

#include <optional>
#include <string_view>

namespace ruvo {

struct DaemonContext;

// What a line of the configuration tool says about the switch: on when it begins
// with "true", off when it begins with "false", whatever the case; otherwise
// nothing.
std::optional<bool> parse_switch(std::string_view tool_output);

// Asks `userconfigtool` for network.ruvo.enable and stores the answer in the
// context's `enable`; an answer that says nothing leaves it as it is. Returns 0.
// Runs a shell command; called by whichever thread reads settings.
int renew_enable_event(DaemonContext& context);

}  // namespace ruvo
