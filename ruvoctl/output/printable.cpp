#include "ruvoctl/output/printable.h"

#include <fmt/format.h>
#include <utf8.h>
#include <nlohmann/json.hpp>

#include <cstdint>

namespace ruvo::ctl {
namespace {

// Controls of either set, and what turns the direction of the text around.
bool is_control(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x061C ||
           (character >= 0x200B && character <= 0x200F) ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF;
}

void append_escaped(std::string& text, std::string_view bytes) {
    for (const char byte : bytes) {
        switch (byte) {
            case '\n':
                text += "\\n";
                break;
            case '\r':
                text += "\\r";
                break;
            case '\t':
                text += "\\t";
                break;
            default:
                text += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
        }
    }
}

// The length of the character that the bytes begin with, 0 when they are no UTF-8, and
// the character itself.
std::size_t first_character(std::string_view bytes, std::uint32_t& character) {
    const char* position = bytes.data();
    try {
        character = utf8::next(position, bytes.data() + bytes.size());
    } catch (const utf8::exception&) {
        return 0;
    }
    return static_cast<std::size_t>(position - bytes.data());
}

}  // namespace

std::string printable(std::string_view bytes, Backslash backslash) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        std::uint32_t character = 0;
        const std::size_t length = first_character(bytes, character);
        const std::string_view piece = bytes.substr(0, length == 0 ? 1 : length);
        if (length == 0 || is_control(character)) {
            append_escaped(text, piece);
        } else {
            if (character == '\\' && backslash == Backslash::kDoubled) text += '\\';
            text += piece;
        }
        bytes.remove_prefix(piece.size());
    }
    return text;
}

std::string hex_of(std::string_view bytes) {
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const char byte : bytes) hex += fmt::format("{:02X}", static_cast<unsigned char>(byte));
    return hex;
}

nlohmann::ordered_json bytes_json(std::string_view bytes) {
    return {{"hex", hex_of(bytes)}, {"text", printable(bytes)}};
}

}  // namespace ruvo::ctl
