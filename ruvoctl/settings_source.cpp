#include "ruvoctl/settings_source.h"

#include "core/file.h"
#include "core/line_reader.h"
#include "settings/settings_text.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

namespace ruvo::ctl {
namespace {

// The text as a stream, so that the daemon's own reader cuts it into lines.
UniqueFile open_text(std::string& text) {
    UniqueFile file(::fmemopen(text.data(), text.size(), "r"));
    if (!file) throw std::bad_alloc();
    return file;
}

void read_pieces(SettingsSource& source) {
    const UniqueFile file = open_text(source.text);
    LineReader<kLineBufferBytes> lines(file.get());
    std::size_t offset = 0;
    while (const auto line = lines.next()) {
        const auto end = static_cast<std::size_t>(std::ftell(file.get()));
        if (auto definition = parse_settings_line(*line)) {
            source.definitions.push_back(*std::move(definition));
            source.piece_of.push_back(source.pieces.size());
        }
        source.pieces.push_back({.offset = offset, .length = end - offset});
        offset = end;
    }
}

std::vector<std::size_t> find_lines(std::string_view text) {
    std::vector<std::size_t> begins{0};
    for (auto feed = text.find('\n'); feed != std::string_view::npos;
         feed = text.find('\n', feed + 1)) {
        begins.push_back(feed + 1);
    }
    if (begins.size() > 1 && begins.back() == text.size()) begins.pop_back();
    return begins;
}

}  // namespace

SourcePosition SettingsSource::position(std::size_t offset) const {
    const auto next = std::upper_bound(line_begins.begin(), line_begins.end(), offset);
    const auto line = static_cast<std::size_t>(next - line_begins.begin());
    return {.line = line, .column = offset - line_begins[line - 1] + 1};
}

std::string_view SettingsSource::line_text(std::size_t line) const {
    const std::size_t begin = line_begins[line - 1];
    const std::size_t end = line < line_begins.size() ? line_begins[line] : text.size();
    std::string_view result = std::string_view(text).substr(begin, end - begin);
    if (result.ends_with('\n')) result.remove_suffix(1);
    return result;
}

std::size_t SettingsSource::key_length(std::size_t record) const {
    const EventDefinition& definition = definitions[record];
    return definition.name.size() + definition.field.size() + definition.index.size();
}

std::string_view SettingsSource::key(std::size_t record) const {
    return std::string_view(text).substr(key_offset(record), key_length(record));
}

std::size_t SettingsSource::value_offset(std::size_t record) const {
    return key_offset(record) + key_length(record) + 1;
}

SettingsSource read_source(std::string text) {
    SettingsSource source;
    source.text = std::move(text);
    source.line_begins = find_lines(source.text);
    if (!source.text.empty()) read_pieces(source);
    return source;
}

}  // namespace ruvo::ctl
