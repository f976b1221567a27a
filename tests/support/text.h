#pragma once

#include <cstddef>
#include <string>

namespace ruvo::test {

// A text of one character, again and again.
std::string repeated(std::size_t count, char character);

// Whether a whole text is of the form that an extended regular expression gives.
bool matches(const std::string& text, const std::string& pattern);

// The text with every match of an extended regular expression replaced.
std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& replacement);

}  // namespace ruvo::test
