#pragma once

#include <cstdint>
#include <string>

namespace ruvo {

struct DaemonContext;

// Rebuilds the normal event list (with a non-zero test flag the test list) from the
// records read last, replaces it whole and writes its text file, all under the
// context's `lock`, which the caller must not hold. Returns 0.
// Throws what build_event_list throws; the list and its text file are then as
// before. Any thread.
int rebuild_ruvo_event_list(DaemonContext& context, std::int32_t test);

// Writes the list that the test flag selects to `path`, in place, a line per entry
// that ends at its first zero byte, line feed included. Returns 0, or -1 when the
// path cannot be opened.
int write_event_list_txt(const DaemonContext& context, const std::string& path, std::int32_t test);

}  // namespace ruvo
