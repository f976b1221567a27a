#pragma once

#include <string>
#include <string_view>

namespace ruvo {

// Handles one administrative command of the command port: key and value are the request's
// text before and behind its first "=" (both the whole text without one). Runs an event
// of the test settings, sets the switch or reads a value of the user configuration, and
// sends one reply on the connection, which stays open. Returns 0; failures are logged.
// Command-server thread; takes as long as the shell commands and files behind a command.
int handle_tcp_command(int connection, std::string_view key, std::string_view value);

}  // namespace ruvo
