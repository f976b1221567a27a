#pragma once

#include <string>

namespace ruvo {

struct DaemonContext;

// Asks the status service for its report (a shell pipeline of about 0.1 s at most),
// takes it over when it has more than kTooFewStatusItems items and writes
// /tmp/ruvo_var.txt. Returns the number of items in this report. Called by the main
// thread during start-up and by whichever thread queues an event.
int renew_macro_var(DaemonContext& context);

// Writes the variables in use to `path`, a line name=value each. Returns 0, or -1
// when the path cannot be opened.
int save_macro_var(const DaemonContext& context, const std::string& path);

}  // namespace ruvo
