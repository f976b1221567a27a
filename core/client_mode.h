#pragma once

#include <map>
#include <string>
#include <string_view>

namespace ruvo {

// The one-shot client request: "getStatus" asks the local service on 127.0.0.1 port 50003
// and prints its report as key=value lines, ordered by key; any other command does
// nothing. Returns 0 in every case; without a reply it prints no entry, and tcpclient logs
// a failed connect or send. Main thread; takes up to about 4 seconds.
int ruvotcp_client(std::string_view command);

// Splits a status reply into keys and values: the key reaches from the end of the line
// before up to a colon, the value from the first character that is neither a colon nor a
// space up to the line's end. A key that comes again keeps its first value.
std::map<std::string, std::string> parse_status_reply(std::string_view text);

}  // namespace ruvo
