#pragma once

#include "devkit/world/options.h"

#include <vector>

namespace ruvo::devkit {

// Brings loopback up, makes the interfaces in the order given, and routes every
// IPv4 destination to this network namespace itself. Throws std::runtime_error
// with the tool's own words, or std::system_error.
void build_network(const std::vector<NetworkInterface>& interfaces);

}  // namespace ruvo::devkit
