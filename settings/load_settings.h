#pragma once

#include <cstdint>

namespace ruvo {

struct DaemonContext;
struct LogSite;

// Reads the settings (test not 0: the test settings) and rebuilds their event list. What
// an exception costs is this reading: the message goes out with the caller's count, name
// and number, the list before stays, and the daemon serves what it has. Returns false when
// there was no memory for it: another time there may be. The thread that reads that file:
// the main thread, for the test settings the command server's.
bool load_settings(DaemonContext& context, std::int32_t test, LogSite& failure,
                   const char* operation, int line);

}  // namespace ruvo
