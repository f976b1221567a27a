#pragma once

#include "devkit/world/options.h"

namespace ruvo::devkit {

// Makes the world, runs the command in it and returns the command's status. Also
// returns in the world's own first process, with the same status; whoever calls
// ends the process with it. Throws when the world cannot be made.
int run_in_world(const WorldOptions& options);

// Turns this process into the command, with another uptime. Returns only a status
// of failure.
int run_with_uptime(const WorldOptions& options);

}  // namespace ruvo::devkit
