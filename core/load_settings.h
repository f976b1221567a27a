#pragma once

namespace ruvo {

struct LogSite;

// Reads the settings file and rebuilds the event list. What an exception costs is this
// reading: the message goes out with the caller's count and number, the list before
// stays, and the daemon serves what it has. Main thread.
void load_settings(LogSite& failure, int line);

}  // namespace ruvo
