#pragma once

#include "settings/event_definition.h"

#include <string>

namespace ruvo {

struct DaemonContext;

// One line of the ASCII mirror: the key, "=", the value, a line feed; the value of
// a Data record is shown as the bytes it stands for.
std::string ascii_mirror_line(const EventDefinition& definition);

// One line of the raw dump: the key, "=", the value as it was read, a line feed.
std::string raw_dump_line(const EventDefinition& definition);

// Write the normal records of the context to `path`, in place. A line's output
// ends at its first zero byte, line feed included. Return 0, or -1 when the path
// is empty or cannot be opened. Called by whichever thread has read settings.
int write_ascii_mirror(const DaemonContext& context, const std::string& path);
int dump(const DaemonContext& context, const std::string& path);

}  // namespace ruvo
