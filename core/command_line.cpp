#include "core/command_line.h"

#include "core/process_state.h"

#include <unistd.h>

namespace ruvo {

void parse_command_line(int argc, char* const argv[]) {
    for (int option = 0; option != -1; option = ::getopt(argc, argv, "d")) {
        if (option != 'd') continue;
        g_debug_flag.store(1);
        g_log_ready.store(1);
    }
}

}  // namespace ruvo
