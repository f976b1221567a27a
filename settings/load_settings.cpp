#include "settings/load_settings.h"

#include "core/exception_text.h"
#include "core/log.h"
#include "events/event_list.h"
#include "settings/settings_file.h"

namespace ruvo {

void load_settings(DaemonContext& context, std::int32_t test, LogSite& failure,
                   const char* operation, int line) {
    try {
        (void)renew_ruvo_txt(context, test);
        (void)rebuild_ruvo_event_list(context, test);
    } catch (...) {
        // As a rule an index in the settings is no number.
        log_line(failure, "Error: [%s:%d] rebuild_ruvo_event_list(): %s\n", operation, line,
                 exception_text());
    }
}

}  // namespace ruvo
