#pragma once

#include <cerrno>
#include <system_error>

namespace ruvo::bench {

// Throws the current errno; `what` names the call.
[[noreturn]] inline void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace ruvo::bench
