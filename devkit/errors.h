#pragma once

#include <string>

namespace ruvo::devkit {

// Throws std::system_error for the current errno; `what` names the step.
[[noreturn]] void throw_errno(const std::string& what);

}  // namespace ruvo::devkit
