#pragma once

#include <string>

namespace ruvo {

// Asks the device's store and renders the value at the dotted key as text; empty when
// there is none. A build without a device library always answers empty.
std::string token_text(const std::string& query, const std::string& key);

}  // namespace ruvo
