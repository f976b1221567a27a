#include "settings/load_settings.h"

#include "core/exception_text.h"
#include "core/log.h"
#include "events/event_list.h"
#include "settings/settings_file.h"

#include <new>

namespace ruvo {
namespace {

void tell(LogSite& failure, const char* operation, int line, const char* what) {
    log_line(failure, "Error: [%s:%d] rebuild_ruvo_event_list(): %s\n", operation, line, what);
}

}  // namespace

bool load_settings(DaemonContext& context, std::int32_t test, LogSite& failure,
                   const char* operation, int line) {
    try {
        (void)renew_ruvo_txt(context, test);
        (void)rebuild_ruvo_event_list(context, test);
        return true;
    } catch (const std::bad_alloc& error) {
        tell(failure, operation, line, error.what());
        return false;
    } catch (...) {
        // As a rule an index in the settings is no number.
        tell(failure, operation, line, exception_text());
        return true;
    }
}

}  // namespace ruvo
