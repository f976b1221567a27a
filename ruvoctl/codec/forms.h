#pragma once

#include <string>
#include <string_view>

namespace ruvo::ctl {

// How bytes are written for a person. Every form is printable ASCII, and reading it in
// the most likely notation gives the same bytes; where bare text would be read as
// something else it stands in quotes.
enum class Form {
    kText,    // POWER ON<CR>
    kC,       // POWER ON\r
    kSpaced,  // 50 4F 57
};

std::string write_form(Form form, std::string_view bytes);

}  // namespace ruvo::ctl
