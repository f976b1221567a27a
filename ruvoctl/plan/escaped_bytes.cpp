#include "ruvoctl/plan/escaped_bytes.h"

#include <charconv>

namespace ruvo::ctl {
namespace {

// The byte behind "\x"; takes its two digits off the text.
std::optional<char> take_hex_byte(std::string_view& text) {
    unsigned char value = 0;
    const std::string_view digits = text.substr(0, 2);
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, value, 16);
    if (digits.size() != 2 || error != std::errc{} || end != last) return {};
    text.remove_prefix(2);
    return static_cast<char>(value);
}

// The byte that stands behind a backslash; takes it off the text.
std::optional<char> take_escape(std::string_view& text) {
    if (text.empty()) return {};
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
            return {};
    }
}

}  // namespace

std::optional<std::string> escaped_bytes(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const char next = text.front();
        text.remove_prefix(1);
        const std::optional<char> byte = next == '\\' ? take_escape(text) : next;
        if (!byte) return {};
        bytes += *byte;
    }
    return bytes;
}

}  // namespace ruvo::ctl
