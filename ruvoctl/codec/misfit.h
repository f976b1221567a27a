#pragma once

#include <cstddef>
#include <string>

namespace ruvo::ctl {

// Where a text stops being what it was to be read as. The readers of notations throw it.
struct Misfit {
    std::size_t position = 0;  // of the first byte that does not fit
    std::string reason;
};

}  // namespace ruvo::ctl
