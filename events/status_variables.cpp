#include "events/status_variables.h"

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/log.h"
#include "events/status_reply.h"
#include "platform/shell.h"

#include <cstdio>
#include <utility>

namespace ruvo {
namespace {

// The shell's printf and tr read the backslash sequences.
constexpr char kStatusCommand[] =
    "printf 'getStatus\\r' | timeout 0.1 nc 127.0.0.1 50001 2>/dev/null | tr '\\r' '\\n'";

StatusVariables ask_status_service() {
    const UniquePipe pipe = open_command(kStatusCommand);
    return pipe ? read_status_report(pipe.get()) : StatusVariables();
}

}  // namespace

int renew_macro_var(DaemonContext& context) {
    debug_line("[%s:%d]\n", "renew_macro_var", 307);
    StatusVariables variables = ask_status_service();
    const auto count = static_cast<int>(variables.size());

    // During start-up two threads may be here; the file shows what is in use.
    const Guard guard(context.status_file_guard);
    if (variables.size() > kTooFewStatusItems) context.statusVariables.set(std::move(variables));
    debug_line("[%s:%d] save /tmp/ruvo_var.txt\n", "renew_macro_var", 327);
    (void)save_macro_var(context, "/tmp/ruvo_var.txt");
    return count;
}

int save_macro_var(const DaemonContext& context, const std::string& path) {
    const UniqueFile file = open_truncated(path.c_str());
    if (!file) return -1;  // silent: the file is rewritten with the next event
    const auto variables = context.statusVariables.get();
    for (const auto& [name, value] : *variables) {
        std::fprintf(file.get(), "%s=%s\n", name.c_str(), value.c_str());
    }
    return 0;
}

}  // namespace ruvo
