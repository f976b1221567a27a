#include "ruvoctl/check/data_checks.h"

#include "core/text_cut.h"
#include "events/expand_data.h"
#include "events/hex_to_bytes.h"
#include "events/unescape_data.h"
#include "execution/outgoing.h"
#include "ruvoctl/characters.h"
#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/notation.h"
#include "ruvoctl/codec/read_notation.h"
#include "ruvoctl/nearest_word.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr std::size_t kMostBytes = kSentDataBytes - 1;
// The longest values that the built-in macros are likely to have in a device's life:
// "2024-10-17 ", "03:18:38" and an uptime of ten digits.
constexpr std::int64_t kLongestUptime_s = 4294967295;
constexpr std::array<std::string_view, 3> kBuiltInMacros = {"date", "time", "uptime"};

bool is_blank_or_return(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Behind the last digit blanks and carriage returns only add a zero byte, at which the
// data ends.
std::string_view without_trailing_blanks(std::string_view value) {
    while (!value.empty() && is_blank_or_return(value.back())) value.remove_suffix(1);
    return value;
}

bool same_ignoring_case(std::string_view left, std::string_view right) {
    return lower_case(left) == lower_case(right);
}

bool is_built_in_macro(std::string_view name) {
    return std::any_of(kBuiltInMacros.begin(), kBuiltInMacros.end(), [&](std::string_view macro) {
        return same_ignoring_case(until_zero(name), macro);
    });
}

bool is_text_byte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte < 0x7F) || c == '\r' || c == '\n' || c == '\t';
}

// Half of what is no macro and no escape is no text: a frame of a binary protocol.
bool is_binary(std::string_view data) {
    const auto others =
        std::count_if(data.begin(), data.end(), [](char c) { return !is_text_byte(c); });
    std::ptrdiff_t marked = 0;
    for (auto macro = find_macro(data, 0); macro; macro = find_macro(data, macro->end())) {
        marked += static_cast<std::ptrdiff_t>(macro->name.size()) + 4;
    }
    for (std::size_t i = 0; i + 1 < data.size(); ++i) {
        if (data[i] == '\\' && (data[i + 1] == 'n' || data[i + 1] == 'r' || data[i + 1] == 't')) {
            marked += 2;
        }
    }
    return others > 0 && others * 2 >= static_cast<std::ptrdiff_t>(data.size()) - marked;
}

// A zero byte ends the data, but for one in the name of a macro, which is replaced before
// the data is cut.
std::string_view until_zero_outside_macros(std::string_view bytes) {
    std::size_t position = 0;
    for (;;) {
        const auto zero = bytes.find('\0', position);
        const auto macro = find_macro(bytes, position);
        if (zero == std::string_view::npos) return bytes;
        if (!macro || zero < macro->position) return bytes.substr(0, zero);
        position = macro->end();
    }
}

// Looks at one value; the findings are in the order of the checks.
class DataCheck {
  public:
    DataCheck(std::string_view value, const StatusVariables* items)
        : value_(without_trailing_blanks(value)),
          items_(items),
          variables_(std::make_shared<StatusVariables>(items ? *items : StatusVariables())),
          bytes_(hex_to_bytes(value_)),
          data_(until_zero_outside_macros(bytes_)) {}

    std::vector<DataFinding> run() && {
        if (check_digits()) {
            check_zero_byte();
            check_escapes();
            check_macros();
            check_look_alikes();
            check_length();
        }
        return std::move(findings_);
    }

  private:
    void add(std::string_view id, std::size_t position, std::size_t length, std::string cause,
             std::string effect, std::optional<std::string> corrected = {}) {
        findings_.push_back({.id = id,
                             .severity = find_check(id)->severity,
                             .position = position,
                             .length = length,
                             .cause = std::move(cause),
                             .effect = std::move(effect),
                             .corrected = std::move(corrected)});
    }

    // A piece of the decoded data, by its bytes.
    void add_at(std::string_view id, std::size_t byte, std::size_t count, std::string cause,
                std::string effect, std::optional<std::string> replacement = {}) {
        std::optional<std::string> corrected;
        if (replacement) {
            corrected = hex_of(bytes_.substr(0, byte) + *replacement + bytes_.substr(byte + count));
        }
        add(id, byte * 2, count * 2, std::move(cause), std::move(effect), std::move(corrected));
    }

    std::string what_leaves() const {
        if (data_.empty()) return "nothing of it leaves: an empty message is sent";
        const std::string sent(cut_to_buffer(unescape_data(data_), kSentDataBytes));
        return fmt::format("what leaves is \"{}\"", printable(sent));
    }

    // Whether the value is plain hexadecimal, two digits a byte.
    bool check_digits() {
        const auto strange =
            std::find_if_not(value_.begin(), value_.end(), [](char c) { return is_hex_digit(c); });
        const auto position = static_cast<std::size_t>(strange - value_.begin());
        if (strange != value_.end()) {
            check_notation(position);
            return false;
        }
        if (value_.size() % 2 == 0) return true;
        add("hex-odd", value_.size() - 1, 1,
            fmt::format("{} hexadecimal digits: the last one is a byte of its own", value_.size()),
            fmt::format("if a digit is missing further in front, every byte from there on is "
                        "wrong; {}",
                        what_leaves()));
        return false;
    }

    void check_notation(std::size_t position) {
        const std::string shown = printable(value_.substr(position, 1));
        if (const auto meant = separated_hex(value_)) {
            if (*meant == data_) return;
            add("hex-separated", position, 1,
                fmt::format(
                    "'{}' between hexadecimal digits: they are read two characters at a time",
                    shown),
                what_leaves(), hex_of(*meant));
            return;
        }
        if (ends_there(position)) return;
        add("hex-invalid", position, 1, fmt::format("'{}' is no hexadecimal digit", shown),
            what_leaves(), hex_of_text());
    }

    // Whether what is no digit only ends the data, as a remark behind it does.
    bool ends_there(std::size_t position) const {
        if (position == 0 || position % 2 != 0) return false;
        const char c = value_[position];
        return (c == ' ' || c == '\t' || c == ';' || c == '#' || c == '/') &&
               data_ == hex_to_bytes(value_.substr(0, position));
    }

    // A value without blanks, quotes or braces around it.
    static std::string_view bare(std::string_view value) {
        std::string_view inner = trim_blanks(value);
        if (inner.size() < 2) return inner;
        const std::string ends{inner.front(), inner.back()};
        if (ends == "\"\"" || ends == "''" || ends == "{}" || ends == "[]") {
            inner = trim_blanks(inner.substr(1, inner.size() - 2));
        }
        return inner;
    }

    // Digits with blanks around them, or text that has been written as it is; nothing that
    // may be meant otherwise, such as digits with a slip of the pen.
    std::optional<std::string> hex_of_text() const {
        const std::string_view inner = bare(value_);
        if (!inner.empty() && inner.size() % 2 == 0 &&
            std::all_of(inner.begin(), inner.end(), is_hex_digit)) {
            return std::string(inner);
        }
        const auto digits = std::count_if(value_.begin(), value_.end(), is_hex_digit);
        if (digits * 4 >= static_cast<std::ptrdiff_t>(value_.size()) * 3) return {};
        try {
            const Reading reading = read_as_most_likely(value_);
            if (reading.notes.empty()) return hex_of(reading.bytes);
        } catch (const Misfit&) {
            return {};  // an escape that nobody knows
        }
        return {};
    }

    void check_zero_byte() {
        if (data_.size() == bytes_.size()) return;
        add_at("data-zero-byte", data_.size(), 1,
               fmt::format("byte {} of {} is zero", data_.size() + 1, bytes_.size()),
               data_.empty() ? "it and all behind it is lost: an empty message is sent"
                             : fmt::format("it and all behind it is lost: {} of {} bytes remain",
                                           data_.size(), bytes_.size()));
    }

    void check_escapes() {
        if (!is_binary(data_)) return;
        for (std::size_t i = 0; i + 1 < data_.size(); ++i) {
            if (data_[i] != '\\') continue;
            const std::string_view pair = data_.substr(i, 2);
            const std::string replaced = unescape_data(pair);
            if (replaced.size() != 1) continue;
            add_at("data-altered", i, 2,
                   fmt::format("the bytes {} are the escape {}", hex_of(pair), text_of(pair)),
                   fmt::format("0x{} is sent in their place", hex_of(replaced)));
        }
    }

    void check_macros() {
        std::size_t position = 0;
        while (const auto macro = find_macro(data_, position)) {
            check_macro(*macro);
            position = macro->end();
        }
        const auto opening = data_.find("{{", position);
        if (opening == std::string_view::npos || is_binary(data_)) return;
        add_at("macro-not-closed", opening, data_.size() - opening,
               fmt::format("\"{}\" has no closing braces", printable(data_.substr(opening))),
               "it is sent as it stands");
    }

    MacroValues values() const {
        MacroValues values;
        values.status_variables = variables_;
        values.local_time.tm_year = 124;
        values.local_time.tm_mday = 17;
        values.uptime_s = kLongestUptime_s;
        return values;
    }

    void check_macro(const Macro& macro) {
        switch (resolve_macro(macro.name, values()).source) {
            case MacroSource::kStatus:
                if (is_built_in_macro(macro.name)) add_shadowed(macro);
                break;
            case MacroSource::kUnknown:
                add_unknown(macro);
                break;
            case MacroSource::kDate:
                add_at("date-blank", macro.position, macro.name.size() + 4,
                       "the date ends in a blank", "\"2024-10-17 \" is 11 bytes");
                break;
            case MacroSource::kTime:
            case MacroSource::kUptime:
                break;
        }
    }

    void add_shadowed(const Macro& macro) {
        add_at("macro-shadowed", macro.position, macro.name.size() + 4,
               fmt::format("the device reports an item \"{}\"", printable(macro.name)),
               "its value is sent, not the built-in one");
    }

    void add_unknown(const Macro& macro) {
        const std::size_t length = macro.name.size() + 4;
        const std::string shown = "{{" + printable(macro.name) + "}}";
        if (is_binary(data_)) {
            add_at("data-altered", macro.position, length,
                   fmt::format("the bytes from {} on are a macro, {}", macro.position + 1, shown),
                   "they vanish from what is sent");
            return;
        }
        const std::string nearest = nearest_macro(macro.name);
        const std::string hint =
            nearest.empty() ? std::string() : fmt::format("; did you mean {{{{{}}}}}?", nearest);
        std::optional<std::string> replacement;
        if (same_ignoring_case(nearest, trim_blanks(macro.name))) {
            replacement = "{{" + nearest + "}}";
        }
        if (items_ == nullptr && could_be_item(macro.name)) {
            add_at("unproven-macro", macro.position, length,
                   fmt::format("{} is no built-in macro{}", shown, hint),
                   "it vanishes unless the device reports an item of exactly this name");
            return;
        }
        add_at("unknown-macro", macro.position, length,
               fmt::format("there is no macro {}{}", shown, hint), "it vanishes from what is sent",
               replacement);
    }

    std::string nearest_macro(std::string_view name) const {
        std::vector<std::string> known;
        for (const auto& [item, value] : *variables_) known.push_back(item);
        known.insert(known.end(), kBuiltInMacros.begin(), kBuiltInMacros.end());
        return name.empty() ? std::string() : nearest_word(name, known);
    }

    static bool could_be_item(std::string_view name) {
        return name.find_first_of(":\r\n") == std::string_view::npos;
    }

    bool is_macro_name(std::string_view name) const {
        if (is_built_in_macro(name)) return true;
        return std::any_of(variables_->begin(), variables_->end(),
                           [&](const auto& item) { return item.first == name; });
    }

    void check_look_alikes() {
        if (is_binary(data_)) return;
        for (std::size_t i = 0; i < data_.size(); ++i) {
            if (data_[i] == '{') check_single_brace(i);
            if (data_.substr(i).starts_with("\\x")) check_textual_byte(i);
            if (data_[i] == '<') check_control_name(i);
        }
    }

    void check_single_brace(std::size_t position) {
        const bool doubled = (position > 0 && data_[position - 1] == '{') ||
                             data_.substr(position).starts_with("{{");
        const auto closing = data_.find('}', position);
        if (doubled || closing == std::string_view::npos) return;
        const std::string name(data_.substr(position + 1, closing - position - 1));
        if (!is_macro_name(name)) return;
        add_at(
            "look-alike", position, closing + 1 - position,
            fmt::format("\"{{{}}}\" looks like a macro; a macro has two braces", printable(name)),
            "it is sent as it stands", "{{" + name + "}}");
    }

    void check_textual_byte(std::size_t position) {
        const std::string_view digits = data_.substr(position + 2, 2);
        if (digits.size() < 2 || !is_hex_digit(digits[0]) || !is_hex_digit(digits[1])) return;
        const std::string byte = hex_to_bytes(digits);
        std::optional<std::string> replacement;
        if (byte[0] != '\0') replacement = byte;
        add_at("look-alike", position, 4,
               fmt::format("the text \"\\x{}\" looks like a byte; write {} in the hexadecimal data",
                           digits, digits),
               "its four characters are sent as they stand", replacement);
    }

    void check_control_name(std::size_t position) {
        static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kNames = {
            {{"<CR><LF>", "\r\n"},
             {"<CRLF>", "\r\n"},
             {"<CR>", "\r"},
             {"<LF>", "\n"},
             {"<STX>", "\x02"},
             {"<ETX>", "\x03"}}};
        if (position > 0 && data_.substr(0, position).ends_with("<CR>") &&
            data_.substr(position).starts_with("<LF>")) {
            return;  // told together
        }
        for (const auto& [name, bytes] : kNames) {
            if (!data_.substr(position).starts_with(name)) continue;
            add_at("look-alike", position, name.size(),
                   fmt::format("the text \"{}\" looks like a control character; write {} in the "
                               "hexadecimal data",
                               name, hex_of(bytes)),
                   "its characters are sent as they stand", std::string(bytes));
            return;
        }
    }

    void check_length() {
        const std::string longest = expand_data(data_, values());
        const std::string_view whole = until_zero(longest);
        if (whole.size() <= kMostBytes) return;
        const std::string_view lost = whole.substr(kMostBytes);
        const bool terminator = lost.find_first_not_of("\r\n") == std::string_view::npos;
        const bool ends = lost.ends_with('\r') || lost.ends_with('\n');
        const char* const what = terminator ? ": exactly the line end at its end"
                                 : ends     ? ", the line end with them"
                                            : "";
        const bool macros = find_macro(data_, 0).has_value();
        add("data-too-long", 0, value_.size(),
            fmt::format("{} bytes{}; at most {} leave", whole.size(),
                        macros ? " with the longest macro values" : "", kMostBytes),
            fmt::format("the last {} {} lost{}", lost.size(),
                        lost.size() == 1 ? "byte is" : "bytes are", what));
        add("log-shows-more", 0, value_.size(), "the event log shows the data before it is cut",
            fmt::format("its line shows {} bytes, {} leave", whole.size(), kMostBytes));
    }

    std::string_view value_;
    const StatusVariables* items_;
    std::shared_ptr<const StatusVariables> variables_;
    std::string bytes_;
    std::string_view data_;
    std::vector<DataFinding> findings_;
};

}  // namespace

std::vector<DataFinding> check_data(std::string_view value, const StatusVariables* items) {
    return DataCheck(value, items).run();
}

}  // namespace ruvo::ctl
