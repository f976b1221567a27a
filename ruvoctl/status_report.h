#pragma once

#include "events/status_reply.h"

#include <string>
#include <string_view>

namespace ruvo::ctl {

// What the status service answers.
struct StatusReport {
    StatusVariables items;
    std::string reply;  // its bytes as they reach a socket
};

// The report of a service with these items, one name:value a line, lines ended by line
// feeds or carriage returns.
StatusReport status_report(std::string_view items_text);

// Whether the daemon takes the report's items over.
bool is_taken_over(const StatusReport& report);

// What a sender of the status report sends: what its buffer holds of the reply, as text.
std::string sent_report(const StatusReport& report);

}  // namespace ruvo::ctl
