#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace ruvo::ctl {

enum class Backslash { kAsItIs, kDoubled };

// Bytes as text that may go to a terminal: control characters and bytes that are no
// UTF-8 become \n, \r, \t or \xNN, everything else stays. With its backslashes doubled
// the text says exactly which bytes it stands for.
std::string printable(std::string_view bytes, Backslash backslash = Backslash::kDoubled);

// Text to be read by people: its backslashes stay.
inline std::string text_of(std::string_view text) { return printable(text, Backslash::kAsItIs); }

// Upper-case hexadecimal, two digits a byte.
std::string hex_of(std::string_view bytes);

// {"hex": "...", "text": "..."}; the text is the printable one, backslashes doubled.
nlohmann::ordered_json bytes_json(std::string_view bytes);

}  // namespace ruvo::ctl
