#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ruvo::ctl {

// What may have been meant otherwise than it was read.
struct Note {
    std::size_t position = 0;  // in the text
    std::string text;
    // Whether something else is as likely to be meant as what was read.
    bool doubtful = false;
};

using Notes = std::vector<Note>;

}  // namespace ruvo::ctl
