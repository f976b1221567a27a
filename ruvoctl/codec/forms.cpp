#include "ruvoctl/codec/forms.h"

#include "events/expand_data.h"
#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/read_notation.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

bool is_plain(char c) { return c >= ' ' && c <= '~'; }

// A macro is read back as it is written, so its name must hold nothing that is not.
bool is_plain_name(std::string_view name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return is_plain(c) && c != '\\' && c != '"'; });
}

// Writes bytes as text with names or with escapes of C, from their beginning to their end.
class TextWriter {
  public:
    TextWriter(Form form, std::string_view bytes) : form_(form), bytes_(bytes) {}

    std::string write() && {
        while (position_ < bytes_.size()) write_next();
        return std::move(text_);
    }

  private:
    void write_next() {
        const std::string_view rest = bytes_.substr(position_);
        const auto macro = rest.starts_with("{{") ? find_macro(bytes_, position_) : std::nullopt;
        if (macro && is_plain_name(macro->name)) {
            add(rest.substr(0, macro->end() - position_), macro->end() - position_);
        } else if (macro || bracketed_control(bytes_, position_)) {
            add_number();
        } else {
            add_byte();
        }
    }

    void add(std::string_view text, std::size_t length = 1) {
        text_ += text;
        position_ += length;
        behind_number_ = false;
    }

    void add_number() {
        add("\\x" + hex_of(bytes_.substr(position_, 1)));
        behind_number_ = true;
    }

    void add_byte() {
        const char byte = bytes_[position_];
        // Other readers of C take every digit behind \x.
        const bool joins = form_ == Form::kC && behind_number_ && is_hex_digit(byte);
        if (joins) return add_number();
        if (byte == '\\' || byte == '"') return add(std::string("\\") + byte);
        if (is_plain(byte)) return add({&byte, 1});
        if (form_ == Form::kText) return add_control(control_name(byte));
        if (byte == '\r' || byte == '\n' || byte == '\t') return add(printable({&byte, 1}));
        add_number();
    }

    void add_control(std::string_view name) {
        if (name.empty()) return add_number();
        add(fmt::format("<{}>", name));
    }

    Form form_;
    std::string_view bytes_;
    std::size_t position_ = 0;
    bool behind_number_ = false;
    std::string text_;
};

// Whether the command line and the most likely notation take it for what it is.
bool reads_back(std::string_view text, std::string_view bytes) {
    if (text.empty() || text.starts_with('-')) return false;
    try {
        const Reading reading = read_as_most_likely(text);
        return reading.bytes == bytes && !is_doubtful(reading);
    } catch (const Misfit&) {
        return false;
    }
}

std::string spaced(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) text += ' ';
        text += hex_of(bytes.substr(i, 1));
    }
    return text;
}

}  // namespace

std::string write_form(Form form, std::string_view bytes) {
    if (form == Form::kSpaced) return spaced(bytes);
    std::string text = TextWriter(form, bytes).write();
    return reads_back(text, bytes) ? text : "\"" + text + "\"";
}

}  // namespace ruvo::ctl
