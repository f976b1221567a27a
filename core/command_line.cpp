#include "core/command_line.h"

#include "core/process_state.h"

#include <unistd.h>

namespace ruvo {

void parse_command_line(int argc, char* const argv[]) {
    int option = 0;
    while ((option = ::getopt(argc, argv, "d")) != -1) {
        if (option != 'd') continue;
        g_debug_flag.store(1, std::memory_order_relaxed);
        g_log_ready.store(1, std::memory_order_relaxed);
    }
}

}  // namespace ruvo
