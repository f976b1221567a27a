#include "ruvoctl/codec/control_names.h"

#include "ruvoctl/codec/hex_numbers.h"
#include "ruvoctl/codec/misfit.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace ruvo::ctl {
namespace {

enum class Letters { kCapitals, kAny };

struct Name {
    std::string_view name;
    std::string_view bytes;
    Letters letters = Letters::kCapitals;
};

// A byte's first name is the one that it is shown with. In small letters <sub>, <em> or
// [can] are tags and words.
constexpr std::array<Name, 48> kNames = {{
    {"NUL", {"\x00", 1}, Letters::kAny},
    {"SOH", "\x01", Letters::kAny},
    {"STX", "\x02", Letters::kAny},
    {"ETX", "\x03", Letters::kAny},
    {"EOT", "\x04", Letters::kAny},
    {"ENQ", "\x05", Letters::kAny},
    {"ACK", "\x06", Letters::kAny},
    {"BEL", "\x07"},
    {"BS", "\x08"},
    {"HT", "\x09", Letters::kAny},
    {"LF", "\x0A", Letters::kAny},
    {"VT", "\x0B"},
    {"FF", "\x0C"},
    {"CR", "\x0D", Letters::kAny},
    {"SO", "\x0E"},
    {"SI", "\x0F"},
    {"DLE", "\x10", Letters::kAny},
    {"DC1", "\x11", Letters::kAny},
    {"DC2", "\x12", Letters::kAny},
    {"DC3", "\x13", Letters::kAny},
    {"DC4", "\x14", Letters::kAny},
    {"NAK", "\x15", Letters::kAny},
    {"SYN", "\x16"},
    {"ETB", "\x17", Letters::kAny},
    {"CAN", "\x18"},
    {"EM", "\x19"},
    {"SUB", "\x1A"},
    {"ESC", "\x1B", Letters::kAny},
    {"FS", "\x1C"},
    {"GS", "\x1D"},
    {"RS", "\x1E"},
    {"US", "\x1F"},
    {"DEL", "\x7F"},
    {"NULL", {"\x00", 1}},
    {"TAB", "\x09", Letters::kAny},
    {"SP", " "},
    {"SPC", " "},
    {"SPACE", " "},
    {"XON", "\x11"},
    {"XOFF", "\x13"},
    {"CRLF", "\r\n", Letters::kAny},
    {"CR/LF", "\r\n", Letters::kAny},
    {"CR+LF", "\r\n", Letters::kAny},
    {"CR LF", "\r\n", Letters::kAny},
    {"CR,LF", "\r\n", Letters::kAny},
    {"LFCR", "\n\r", Letters::kAny},
    {"LF/CR", "\n\r", Letters::kAny},
    {"LF CR", "\n\r", Letters::kAny},
}};

std::string in_capitals(std::string_view word) {
    std::string result(word);
    for (char& c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

const Name* find_name(std::string_view word) {
    const auto found = std::find_if(kNames.begin(), kNames.end(),
                                    [&](const Name& name) { return name.name == word; });
    return found == kNames.end() ? nullptr : &*found;
}

}  // namespace

std::optional<std::string> control_bytes(std::string_view name) {
    const Name* found = find_name(name);
    if (found == nullptr) {
        found = find_name(in_capitals(name));
        if (found == nullptr || found->letters != Letters::kAny) return {};
    }
    return std::string(found->bytes);
}

bool is_nearly_control_name(std::string_view word) {
    return !control_bytes(word) && find_name(in_capitals(word)) != nullptr;
}

std::string_view control_name(char byte) {
    if (byte == ' ') return {};
    const auto found = std::find_if(kNames.begin(), kNames.end(), [&](const Name& name) {
        return name.bytes == std::string_view(&byte, 1);
    });
    return found == kNames.end() ? std::string_view() : found->name;
}

std::string_view bracketed_word(std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position);
    if (rest.empty() || (rest[0] != '<' && rest[0] != '[')) return {};
    const std::string_view inner = rest.substr(1, kLongestControlName + 1);
    const auto closing = inner.find(rest[0] == '<' ? '>' : ']');
    return closing == std::string_view::npos ? std::string_view() : inner.substr(0, closing);
}

std::optional<BracketedControl> bracketed_control(std::string_view text, std::size_t position) {
    const std::string_view word = bracketed_word(text, position);
    if (auto bytes = control_bytes(word)) return BracketedControl{*bytes, word.size() + 2};
    if (!word.starts_with("0x") && !word.starts_with("0X")) return {};
    try {
        const HexNumber number = read_hex_number(text, position);
        return BracketedControl{number.bytes, number.end - position};
    } catch (const Misfit&) {
        return {};
    }
}

}  // namespace ruvo::ctl
