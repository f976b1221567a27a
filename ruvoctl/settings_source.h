#pragma once

#include "settings/event_definition.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// What the daemon takes for one line: a line of the file, or a piece of one that is
// longer than its buffer.
struct SourcePiece {
    std::size_t offset = 0;  // in the file
    std::size_t length = 0;  // with its line end
};

struct SourcePosition {
    std::size_t line = 0;    // from 1
    std::size_t column = 0;  // bytes, from 1
};

// A settings file and the records that the daemon makes of it.
struct SettingsSource {
    std::string text;
    std::vector<SourcePiece> pieces;
    EventDefinitions definitions;
    std::vector<std::size_t> piece_of;     // for each record the piece it stands in
    std::vector<std::size_t> line_begins;  // offsets of the file's lines

    SourcePosition position(std::size_t offset) const;

    // A whole line of the file, from 1, without its line end; and where it begins.
    std::string_view line_text(std::size_t line) const;
    std::size_t line_offset(std::size_t line) const { return line_begins[line - 1]; }

    // A record's key begins with its piece; its value stands behind the first "=".
    std::size_t key_offset(std::size_t record) const { return pieces[piece_of[record]].offset; }
    std::size_t key_length(std::size_t record) const;
    std::string_view key(std::size_t record) const;
    std::size_t value_offset(std::size_t record) const;
    std::size_t line_of(std::size_t record) const { return position(key_offset(record)).line; }
};

// Reads the text as the daemon reads a file.
SettingsSource read_source(std::string text);

}  // namespace ruvo::ctl
