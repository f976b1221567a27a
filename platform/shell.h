#pragma once

#include <cstdio>
#include <memory>

namespace ruvo {

struct ClosePipe {
    void operator()(std::FILE* pipe) const;
};

// Owns the reading end of a shell command's output; closing waits for the command.
using UniquePipe = std::unique_ptr<std::FILE, ClosePipe>;

// Runs a command through the system shell and waits for it. Returns 0 when its
// status is 0, otherwise -1; the failure is named on standard output while the
// debug flag is set. Any thread.
int _system(const char* command);

// Starts a shell command for reading its output; empty when it can't be started.
// The command inherits no descriptor but 0 to 2. Any thread.
[[nodiscard]] UniquePipe open_command(const char* command);

}  // namespace ruvo
