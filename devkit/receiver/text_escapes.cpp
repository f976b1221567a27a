#include "devkit/receiver/text_escapes.h"

#include <charconv>

namespace ruvo::devkit {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

void append_hex(std::string& text, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    text.push_back(kHexDigits[value >> 4]);
    text.push_back(kHexDigits[value & 15]);
}

void append_escaped(std::string& text, char byte) {
    switch (byte) {
        case '\r':
            text += "\\r";
            return;
        case '\n':
            text += "\\n";
            return;
        case '\t':
            text += "\\t";
            return;
        case '\\':
            text += "\\\\";
            return;
        default:
            break;
    }
    if (byte >= ' ' && byte <= '~') {
        text.push_back(byte);
    } else {
        text += "\\x";
        append_hex(text, byte);
    }
}

// The byte behind "\x"; takes its two digits off the text.
std::optional<char> take_hex_byte(std::string_view& text) {
    if (text.size() < 2) return std::nullopt;
    unsigned char value = 0;
    const char* const last = text.data() + 2;
    const auto [end, error] = std::from_chars(text.data(), last, value, 16);
    if (error != std::errc{} || end != last) return std::nullopt;
    text.remove_prefix(2);
    return static_cast<char>(value);
}

// The byte that the text behind a backslash stands for; takes it off the text.
std::optional<char> take_escape(std::string_view& text) {
    if (text.empty()) return std::nullopt;
    const char kind = text.front();
    text.remove_prefix(1);
    switch (kind) {
        case 'r':
            return '\r';
        case 'n':
            return '\n';
        case 't':
            return '\t';
        case '\\':
            return '\\';
        case 'x':
            return take_hex_byte(text);
        default:
            return std::nullopt;
    }
}

}  // namespace

std::string escape_text(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) append_escaped(text, byte);
    return text;
}

std::optional<std::string> unescape_text(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const char next = text.front();
        text.remove_prefix(1);
        const std::optional<char> byte = next == '\\' ? take_escape(text) : next;
        if (!byte) return std::nullopt;
        bytes.push_back(*byte);
    }
    return bytes;
}

std::string to_hex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) append_hex(text, byte);
    return text;
}

}  // namespace ruvo::devkit
