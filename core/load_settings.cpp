#include "core/load_settings.h"

#include "core/daemon_context.h"
#include "core/exception_text.h"
#include "core/log.h"
#include "core/process_state.h"
#include "events/event_list.h"
#include "settings/settings_file.h"

namespace ruvo {

void load_settings(LogSite& failure, int line) {
    try {
        (void)renew_ruvo_txt(*g_daemon_ctx, 0);
        (void)rebuild_ruvo_event_list(*g_daemon_ctx, 0);
    } catch (...) {
        // As a rule an index in the settings is no number.
        log_line(failure, "Error: [%s:%d] rebuild_ruvo_event_list(): %s\n", "main", line,
                 exception_text());
    }
}

}  // namespace ruvo
