#include "events/hex_to_bytes.h"

#include <cstdlib>

namespace ruvo {

std::string hex_to_bytes(std::string_view hex) {
    std::string bytes;
    bytes.reserve((hex.size() + 1) / 2);
    for (std::size_t position = 0; position < hex.size(); position += 2) {
        char piece[3] = {};
        hex.copy(piece, 2, position);
        const long number = std::strtol(piece, nullptr, 16);
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(number)));
    }
    return bytes;
}

}  // namespace ruvo
