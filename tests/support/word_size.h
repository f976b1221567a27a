#pragma once

#include <cstdint>

namespace ruvo::test {

// What a test expects where long has 64 bits and where it has 32: numbers beyond 32 bits
// are read by the library at the width of long, which stops at its own largest one.
constexpr std::int64_t by_long(std::int64_t with_64_bits, std::int64_t with_32_bits) {
    return sizeof(long) == 8 ? with_64_bits : with_32_bits;
}

}  // namespace ruvo::test
