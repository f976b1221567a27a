// Stands in for token_text.cpp where a device has no library to ask.

#include "platform/token_text.h"

namespace ruvo {

std::string token_text(const std::string& /*query*/, const std::string& /*key*/) { return {}; }

}  // namespace ruvo
