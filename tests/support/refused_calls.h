#pragma once

#include <functional>
#include <vector>

namespace ruvo::test {

// Whether this system lets a thread refuse itself system calls; an emulated processor
// does not. A test that needs this skips itself where it is missing.
bool can_refuse_calls();

// Runs a task in a thread of its own for which the kernel refuses the given system
// calls (numbers of <sys/syscall.h>) with an errno value, and waits for its end.
// The rest of the process is served as ever.
void run_refused(const std::vector<long>& system_calls, int error,
                 const std::function<void()>& task);

// Runs a task in a thread without the right to open what file modes forbid, so that
// they bind a test that runs as root as well.
void run_bound_by_file_modes(const std::function<void()>& task);

}  // namespace ruvo::test
