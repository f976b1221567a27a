#include "events/hex_to_bytes.h"

#include <cstdlib>

namespace ruvo {
namespace {

constexpr int kNoDigit = -1;

constexpr int digit_value(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    return kNoDigit;
}

// What strtol makes of one or two characters that need not be digits.
long lenient_value(std::string_view characters) {
    char piece[3] = {};
    characters.copy(piece, 2);
    return std::strtol(piece, nullptr, 16);
}

// Two digits, as a good setting has throughout, need no strtol; with it a rebuild of the
// event list takes a seventh longer.
long piece_value(std::string_view piece) {
    if (piece.size() == 2) {
        const int high = digit_value(piece[0]);
        const int low = digit_value(piece[1]);
        if (high != kNoDigit && low != kNoDigit) return high * 16 + low;
    }
    return lenient_value(piece);
}

}  // namespace

std::string hex_to_bytes(std::string_view hex) {
    std::string bytes;
    bytes.reserve((hex.size() + 1) / 2);
    for (std::size_t position = 0; position < hex.size(); position += 2) {
        const long number = piece_value(hex.substr(position, 2));
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(number)));
    }
    return bytes;
}

}  // namespace ruvo
