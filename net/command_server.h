#pragma once

namespace ruvo {

struct ServerContext;

// The command server's thread: accepts connections on 127.0.0.1 port 2700 and
// serves one request on each. Returns 0, ending only this thread, when the port
// can't be set up or watched; ends the process with status 1 when it is in use.
int handle_tcp_event(ServerContext* server);

}  // namespace ruvo
