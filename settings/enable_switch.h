#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace ruvo {

struct DaemonContext;

// What a line of the configuration tool says about the switch: on when it begins
// with "true", off when it begins with "false", whatever the case; otherwise
// nothing.
std::optional<bool> parse_switch(std::string_view tool_output);

// Asks `userconfigtool` for network.ruvo.enable and stores the answer in the
// context's `enable`; an answer that says nothing leaves it as it is, and so does one
// that a command has made old. Returns 0. Runs a shell command; called by whichever
// thread reads settings.
int renew_enable_event(DaemonContext& context);

// A command sets the switch: at once, and while this lives the command stores it in the
// user configuration. Answers of the tool that overlap with that are old and do not
// count. Nobody waits for the other's tool, which may hang. Command-server thread.
class SwitchCommand {
  public:
    SwitchCommand(DaemonContext& context, std::uint32_t enable);
    ~SwitchCommand();
    SwitchCommand(const SwitchCommand&) = delete;
    SwitchCommand& operator=(const SwitchCommand&) = delete;

  private:
    DaemonContext& context_;
};

}  // namespace ruvo
