#pragma once

#include <cstddef>
#include <string>

namespace ruvo::test {

// A text of one character, again and again.
std::string repeated(std::size_t count, char character);

}  // namespace ruvo::test
