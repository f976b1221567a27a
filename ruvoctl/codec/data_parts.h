#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// A piece of data that does not leave as it stands.
struct DataPart {
    std::size_t position = 0;  // in the bytes
    std::string text;          // as it stands
    std::string becomes;       // for a person
};

// The macros of data, in their order; `text` is the name without its braces.
std::vector<DataPart> macros_of(std::string_view bytes);

// Backslash and letter where the daemon puts a line feed, a carriage return or a tab.
std::vector<DataPart> escapes_of(std::string_view bytes);

}  // namespace ruvo::ctl
