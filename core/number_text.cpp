#include "core/number_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace ruvo {
namespace {

// What an unsigned conversion has read, less the sign it has wrapped around.
unsigned long long magnitude_of(unsigned long long number, const std::string& text) {
    const bool negative = text[text.find_first_of("+-0123456789")] == '-';
    return negative ? 0 - number : number;
}

}  // namespace

std::int32_t int32_of(const std::string& text, WordSize word) {
    long long number = std::strtoll(text.c_str(), nullptr, 10);
    if (word == WordSize::k32) {
        number = std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                                       std::numeric_limits<std::int32_t>::max());
    }
    return static_cast<std::int32_t>(number);
}

std::uint32_t index_of(const std::string& text, WordSize word) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    if (end == text.c_str()) throw std::invalid_argument("stoul");
    if (errno == ERANGE) throw std::out_of_range("stoul");
    if (word == WordSize::k32 &&
        magnitude_of(number, text) > std::numeric_limits<std::uint32_t>::max()) {
        throw std::out_of_range("stoul");
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace ruvo
