#pragma once

namespace ruvo {

struct DaemonContext;

// Stores the address and the name of the last IPv4 interface that is not "lo" in
// the context; without one they stay as they are. Returns 0, or -1 when the
// interface list can't be read. Main thread.
int renew_network_info(DaemonContext& context);

}  // namespace ruvo
