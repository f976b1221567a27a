#include "platform/shell.h"

#include "core/log.h"

#include <cstdlib>

namespace ruvo {

void ClosePipe::operator()(std::FILE* pipe) const {
    (void)::pclose(pipe);  // the status of a tool says nothing that its output does not
}

int _system(const char* command) {
    if (std::system(command) == 0) return 0;
    debug_line("[%s:%d] Error: run %s\n", "_system", 156, command);
    return -1;
}

UniquePipe open_command(const char* command) { return UniquePipe(::popen(command, "re")); }

}  // namespace ruvo
