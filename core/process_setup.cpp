#include "core/process_setup.h"

#include <csignal>
#include <cstdio>

namespace ruvo {

void set_up_process() {
    (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    // A handler that does nothing: unlike an ignored signal it is not inherited by
    // the shell commands, which rely on SIGPIPE to end.
    struct sigaction action {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    (void)::sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace ruvo
