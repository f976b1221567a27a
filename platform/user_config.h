#pragma once

#include <string>
#include <string_view>

namespace ruvo {

// The value at a dotted key of the device's user configuration, as text: a boolean as 1
// or 0, a double with six decimals, an integer, a string as it is. Empty when it can't
// be read: a store that does not answer, an unknown key, a value of another type. Any
// thread that the device's library allows; the daemon calls it on the command server's.
std::string get_token_value(const std::string& key);

// The query for the section that a key begins with. Only a key's first 127 characters
// are looked at for the end of the section's name.
std::string section_query(std::string_view key);

}  // namespace ruvo
