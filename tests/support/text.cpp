#include "tests/support/text.h"

namespace ruvo::test {

std::string repeated(std::size_t count, char character) { return std::string(count, character); }

}  // namespace ruvo::test
