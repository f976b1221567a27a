#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ruvo::ctl {

// What may have been meant otherwise than it was read.
struct Note {
    std::size_t position = 0;  // in the text
    std::string text;
};

using Notes = std::vector<Note>;

}  // namespace ruvo::ctl
