#include "ruvoctl/check/findings.h"

#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace ruvo::ctl {

Findings::Findings(const SettingsSource& source_text, const SettingsModel& settings_model,
                   const CheckOptions& check_options)
    : source(source_text),
      model(settings_model),
      options(check_options),
      word(check_options.word.value_or(WordSize::k64)) {
    for (std::size_t i = 0; i < source.definitions.size(); ++i) {
        if (definition(i).kind != kPlainKey) records_of_[definition(i).name].push_back(i);
    }
}

const std::vector<std::size_t>& Findings::records_of(std::string_view name) const {
    static const std::vector<std::size_t> none;
    const auto found = records_of_.find(name);
    return found == records_of_.end() ? none : found->second;
}

const std::set<std::uint32_t>& Findings::steps_named(std::string_view name) {
    const auto [entry, added] = steps_named_.try_emplace(name);
    if (!added) return entry->second;
    for (const std::size_t i : records_of(name)) {
        const std::string_view index = trim_blanks(definition(i).index);
        const bool step = definition(i).kind == kIndexedKey && is_number(index) &&
                          !is_event_field(definition(i).field) && index.size() <= 9;
        if (step) entry->second.insert(index_of(std::string(index)));
    }
    return entry->second;
}

Diagnostic& Findings::add(std::string_view id, std::size_t offset, std::size_t length,
                          std::string cause, std::string effect) {
    const Check* const check = find_check(id);
    if (check == nullptr) throw std::logic_error("no such check: " + std::string(id));
    Diagnostic diagnostic;
    diagnostic.id = check->id;
    diagnostic.severity = check->severity;
    diagnostic.offset = offset;
    diagnostic.length = length;
    diagnostic.cause = std::move(cause);
    diagnostic.effect = std::move(effect);
    diagnostics_.push_back(std::move(diagnostic));
    return diagnostics_.back();
}

Diagnostic& Findings::add_key(std::string_view id, std::size_t record, std::string cause,
                              std::string effect) {
    return add(id, source.key_offset(record), source.key_length(record), std::move(cause),
               std::move(effect));
}

Diagnostic& Findings::add_value(std::string_view id, std::size_t record, std::string cause,
                                std::string effect) {
    return add(id, source.value_offset(record), trimmed_value(record).size(), std::move(cause),
               std::move(effect));
}

std::string_view Findings::trimmed_value(std::size_t record) const {
    std::string_view value = definition(record).value;
    while (!value.empty() &&
           (value.back() == ' ' || value.back() == '\t' || value.back() == '\r')) {
        value.remove_suffix(1);
    }
    return value;
}

Edit Findings::replace_key(std::size_t record, std::string text) const {
    return {source.key_offset(record), source.key_length(record), std::move(text)};
}

Edit Findings::replace_trimmed_value(std::size_t record, std::string text) const {
    return {source.value_offset(record), trimmed_value(record).size(), std::move(text)};
}

Edit Findings::replace_whole_value(std::size_t record, std::string text) const {
    return {source.value_offset(record), definition(record).value.size(), std::move(text)};
}

std::string_view Findings::line_end_of(std::size_t record) const {
    const SourcePiece& piece = source.pieces[source.piece_of[record]];
    const std::string_view text = std::string_view(source.text).substr(piece.offset, piece.length);
    return text.ends_with("\r\n") ? "\r\n" : "\n";
}

Edit Findings::insert_line_before(std::size_t record, const std::string& text) const {
    return {source.key_offset(record), 0, text + std::string(line_end_of(record))};
}

Edit Findings::insert_line_behind(std::size_t record, const std::string& text) const {
    const SourcePiece& piece = source.pieces[source.piece_of[record]];
    const std::size_t end = piece.offset + piece.length;
    const bool closed = source.text[end - 1] == '\n';
    const std::string line_end(line_end_of(record));
    return {end, 0, closed ? text + line_end : line_end + text};
}

Edit Findings::insert_line_behind_plain(std::size_t record, const std::string& text) const {
    const SourcePiece& piece = source.pieces[source.piece_of[record]];
    const std::size_t end = piece.offset + piece.length;
    const bool closed = source.text[end - 1] == '\n';
    return {end, 0, closed ? text + "\n" : "\n" + text};
}

Edit Findings::remove_line(std::size_t record) const {
    const SourcePiece& piece = source.pieces[source.piece_of[record]];
    return {piece.offset, piece.length, ""};
}

bool Findings::has_whole_steps(std::string_view name) const {
    std::set<std::string_view> fields;
    for (const std::size_t record : records_of(name)) fields.insert(definition(record).field);
    return fields.contains("IP") && fields.contains("Port") && fields.contains("Protocol");
}

void Findings::take_over(const Findings& others) {
    explained_ = others.explained_;
    dismissed_names_ = others.dismissed_names_;
    damaged_ = others.damaged_;
}

bool Findings::is_examined(std::size_t event) const {
    const auto same_name = model.events_of.find(model.list[event].name);
    return same_name->second.front() == event && !dismissed_.contains(event);
}

bool looks_like_comment(std::string_view key) {
    const std::string_view text = trim_blanks(key);
    return text.starts_with('#') || text.starts_with(';') || text.starts_with("//");
}

std::string_view trim_blanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string step_text(std::string_view event, std::size_t step) {
    return fmt::format("{} step {}", text_of(event), step);
}

std::string in_quotes(std::string_view text) { return fmt::format("\"{}\"", text_of(text)); }

}  // namespace ruvo::ctl
