#pragma once

#include <string>
#include <string_view>

namespace ruvo::ctl {

// Why the daemon does not take a key for the data of a step; empty when it does.
std::string why_no_data_key(std::string_view key);

// Why the data of a step under this key is never sent, though it is a key of data; empty when
// it may be.
std::string why_never_sent(std::string_view key);

}  // namespace ruvo::ctl
