#include "ruvoctl/check/findings.h"

#include "settings/split_key.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kMarkBytes = 3;

// Every other byte of Latin text in UTF-16 is zero.
bool is_utf16(std::string_view text) {
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return true;
    if (text.size() < 8) return false;
    std::size_t zeros[2] = {0, 0};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\0') ++zeros[i % 2];
    }
    const std::size_t most = std::max(zeros[0], zeros[1]);
    return most * 3 >= text.size() && std::min(zeros[0], zeros[1]) * 10 <= most;
}

bool check_encoding(Findings& findings) {
    if (!is_utf16(findings.source.text)) return true;
    findings.add("utf-16", 0, std::min<std::size_t>(2, findings.source.text.size()),
                 "the file is UTF-16: every line ends at its first zero byte",
                 "not one of its settings is read; save it as ASCII or UTF-8");
    return false;
}

// Files that are put together have a mark in front of each part.
void check_byte_order_mark(Findings& findings, std::size_t record) {
    const SettingsSource& source = findings.source;
    if (!source.key(record).starts_with(kByteOrderMark)) return;
    const std::string_view key = source.key(record).substr(kMarkBytes);
    const EventDefinition meant = split_key(key, "");
    findings.damage(record);
    if (meant.kind == kPlainKey || looks_like_comment(key)) return;
    auto& diagnostic =
        findings.add("byte-order-mark", source.key_offset(record), kMarkBytes,
                     fmt::format("a byte-order mark stands in front of {} key",
                                 source.key_offset(record) == 0 ? "the first" : "the"),
                     fmt::format("the key is not {}: the line is lost", in_quotes(key)));
    diagnostic.event = meant.name;
    // A blank before "=" would void the file once the mark is gone.
    const bool blank = meant.kind == kIndexedKey && trim_blanks(meant.index).empty();
    const std::string key_without = blank ? meant.name + meant.field : std::string(key);
    diagnostic.fix = {findings.replace_key(record, key_without)};
    findings.explain(key_without);
    const RecordModel& model = findings.model.records[record];
    if (model.fate == Fate::kCreates) findings.dismiss(*model.event);
}

// The record that a piece of the file holds.
std::optional<std::size_t> record_in(const SettingsSource& source, std::size_t piece) {
    const auto found = std::lower_bound(source.piece_of.begin(), source.piece_of.end(), piece);
    if (found == source.piece_of.end() || *found != piece) return {};
    return static_cast<std::size_t>(found - source.piece_of.begin());
}

// The record in whose line an offset of the file lies.
std::optional<std::size_t> record_at(const SettingsSource& source, std::size_t offset) {
    const auto next =
        std::upper_bound(source.pieces.begin(), source.pieces.end(), offset,
                         [](std::size_t o, const SourcePiece& piece) { return o < piece.offset; });
    return record_in(source, static_cast<std::size_t>(next - source.pieces.begin()) - 1);
}

// A finding about the line of a record, whose value is not what was written: nothing
// else is said about it.
void blame_record(Findings& findings, Diagnostic& diagnostic, std::optional<std::size_t> record) {
    if (!record) return;
    findings.damage(*record);
    if (findings.definition(*record).kind == kPlainKey) return;
    diagnostic.event = findings.definition(*record).name;
    const RecordModel& model = findings.model.records[*record];
    const bool applies = model.fate == Fate::kApplies || model.fate == Fate::kOverwritten;
    if (applies && findings.definition(*record).kind == kIndexedKey) diagnostic.step = model.step;
}

std::string without(std::string_view text, char unwanted) {
    std::string result(text);
    std::erase(result, unwanted);
    return result;
}

void check_zero_bytes(Findings& findings, std::size_t index) {
    const SourcePiece& piece = findings.source.pieces[index];
    const std::string_view text =
        std::string_view(findings.source.text).substr(piece.offset, piece.length);
    const auto zero = text.find('\0');
    if (zero == std::string_view::npos || text.find('=') == std::string_view::npos) return;
    const std::string_view lost = text.substr(zero);
    if (without(without(without(lost, '\0'), '\r'), '\n').empty()) return;
    auto& diagnostic = findings.add("zero-byte", piece.offset + zero, 1, "a zero byte in the line",
                                    "the line ends there: what follows is not read");
    blame_record(findings, diagnostic, record_in(findings.source, index));
}

// A carriage return with a setting behind it.
std::size_t inner_return(std::string_view text) {
    const auto at = text.find('\r');
    const auto last = text.rfind('=');
    return at != std::string_view::npos && last != std::string_view::npos && at < last
               ? at
               : std::string_view::npos;
}

void check_returns(Findings& findings, std::size_t line) {
    const SettingsSource& source = findings.source;
    const std::string_view text = source.line_text(line);
    const std::size_t at = inner_return(text);
    if (at == std::string_view::npos) return;
    auto& diagnostic = findings.add("cr-line-ends", source.line_offset(line) + at, 1,
                                    "a carriage return without a line feed ends no line",
                                    "the settings behind it are read as part of this line's value");
    blame_record(findings, diagnostic, record_at(findings.source, source.line_offset(line) + at));
    for (std::size_t i = at; i + 1 < text.size(); ++i) {
        if (text[i] == '\r' && text[i + 1] != '\r') {
            diagnostic.fix.push_back({source.line_offset(line) + i, 1, "\n"});
        }
    }
}

void check_length(Findings& findings, std::size_t piece) {
    const auto& pieces = findings.source.pieces;
    const std::string_view file = findings.source.text;
    const auto in_file = [&](const SourcePiece& p) { return file.substr(p.offset, p.length); };
    const bool begins = piece == 0 || in_file(pieces[piece - 1]).ends_with('\n');
    if (!begins || in_file(pieces[piece]).ends_with('\n') || piece + 1 == pieces.size()) return;
    const SourcePosition position = findings.source.position(pieces[piece].offset);
    const std::string_view line = findings.source.line_text(position.line);
    const std::string_view rest = line.substr(pieces[piece].length);
    if (rest.find_first_not_of("\r\n") == std::string_view::npos) return;
    if (line.find('=') == std::string_view::npos) return;
    auto& diagnostic =
        findings.add("long-line", pieces[piece + 1].offset, rest.size(),
                     fmt::format("a line of {} characters; at most {} are read at once",
                                 line.size(), pieces[piece].length),
                     "the value is cut here, and the rest is read as a line of its own");
    blame_record(findings, diagnostic, record_in(findings.source, piece));
}

}  // namespace

bool check_file_form(Findings& findings) {
    if (!check_encoding(findings)) return false;
    for (std::size_t i = 0; i < findings.source.definitions.size(); ++i) {
        check_byte_order_mark(findings, i);
    }
    for (std::size_t i = 0; i < findings.source.pieces.size(); ++i) {
        check_zero_bytes(findings, i);
        check_length(findings, i);
    }
    for (std::size_t i = 1; i <= findings.source.line_begins.size(); ++i) {
        check_returns(findings, i);
    }
    return true;
}

}  // namespace ruvo::ctl
