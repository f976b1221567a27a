#pragma once

#include "settings/event_definition.h"

#include <cstdint>
#include <cstdio>

namespace ruvo {

struct DaemonContext;

// Every record of an open settings file, to its end.
EventDefinitions read_settings(std::FILE* file);

// Refreshes the enable switch, reads the settings file (with a non-zero test flag
// the test settings file) into the context's store of that mode and rewrites the
// mode's mirrors. A file that cannot be opened gets the default lines first.
// Returns 0, or -1 when the file cannot be opened even then; the store and the
// mirrors are then as before. The main thread reads in normal mode, the
// command-server thread in test mode.
int renew_ruvo_txt(DaemonContext& context, std::int32_t test);

}  // namespace ruvo
