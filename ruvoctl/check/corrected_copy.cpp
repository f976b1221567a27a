#include "ruvoctl/check/corrected_copy.h"

#include "ruvoctl/output/printable.h"

#include <fmt/format.h>
#include <dtl/dtl.hpp>

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>
#include <utility>

namespace ruvo::ctl {
namespace {

// A fix may bring to light what stood in its shadow; more rounds than this only go in
// circles.
constexpr int kMostRounds = 8;

std::size_t end_of(const Edit& edit) { return edit.offset + edit.length; }

bool same(const Edit& left, const Edit& right) {
    return left.offset == right.offset && left.length == right.length && left.text == right.text;
}

bool overlap(const Edit& left, const Edit& right) {
    if (left.length == 0 && right.length == 0) return false;
    return left.offset < end_of(right) && right.offset < end_of(left);
}

// The edits of all diagnostics that can be made together; a fix is made whole or not.
class EditSet {
  public:
    void add(const std::vector<Edit>& fix) {
        for (const Edit& edit : fix) {
            for (const Edit& made : around(edit)) {
                if (overlap(edit, made) && !same(edit, made)) return;
            }
        }
        for (const Edit& edit : fix) {
            const auto near = around(edit);
            const bool made = std::any_of(near.begin(), near.end(),
                                          [&](const Edit& other) { return same(edit, other); });
            if (!made) edits_.emplace(edit.offset, edit);
        }
    }

    std::vector<Edit> take() const {
        std::vector<Edit> edits;
        edits.reserve(edits_.size());
        for (const auto& [offset, edit] : edits_) edits.push_back(edit);
        return edits;
    }

  private:
    // The edits made in reach of one: lines are short, edits do not cross their ends.
    std::vector<Edit> around(const Edit& edit) const {
        constexpr std::size_t kReach = 4096;
        std::vector<Edit> near;
        const std::size_t from = edit.offset > kReach ? edit.offset - kReach : 0;
        for (auto at = edits_.lower_bound(from); at != edits_.end() && at->first <= end_of(edit);
             ++at) {
            near.push_back(at->second);
        }
        return near;
    }

    std::multimap<std::size_t, Edit> edits_;
};

std::string fix_once(const SettingsSource& source, const CheckOptions& options) {
    EditSet edits;
    for (const Diagnostic& diagnostic : check_settings(source, options).diagnostics) {
        edits.add(diagnostic.fix);
    }
    return apply_edits(source.text, edits.take());
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size());
        lines.push_back(printable(text.substr(begin, feed - begin), Backslash::kAsItIs));
        begin = feed + 1;
    }
    return lines;
}

std::string shown_line(std::string_view line) {
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    return printable(line, Backslash::kAsItIs);
}

}  // namespace

std::string apply_edits(const std::string& text, std::vector<Edit> edits) {
    // What is added in a place stands in front of what replaces the text behind it.
    std::stable_sort(edits.begin(), edits.end(), [](const Edit& left, const Edit& right) {
        return std::pair(left.offset, left.length > 0) < std::pair(right.offset, right.length > 0);
    });
    std::string result;
    std::size_t position = 0;
    for (const Edit& edit : edits) {
        result.append(text, position, edit.offset - position);
        result += edit.text;
        position = end_of(edit);
    }
    return result.append(text, position);
}

std::vector<std::string> corrected_lines(const SettingsSource& source,
                                         const std::vector<Edit>& edits) {
    std::vector<std::string> lines;
    for (const Edit& edit : edits) {
        const std::size_t line = source.position(edit.offset).line;
        const std::size_t begin = source.line_offset(line);
        const std::string text(source.line_text(line));
        if (edit.length == 0 && (edit.text.ends_with('\n') || edit.text.starts_with('\n'))) {
            lines.push_back("(add) " + shown_line(edit.text));
        } else if (edit.text.empty() && edit.length >= text.size()) {
            lines.push_back(fmt::format("(remove line {})", line));
        } else if (end_of(edit) <= begin + text.size() + 1) {
            const std::string corrected =
                apply_edits(text + "\n", {{edit.offset - begin, edit.length, edit.text}});
            lines.push_back(shown_line(corrected));
        }
    }
    return lines;
}

std::string corrected_copy(const SettingsSource& source, const CheckOptions& options) {
    std::string text = source.text;
    for (int round = 0; round < kMostRounds; ++round) {
        std::string fixed = fix_once(round == 0 ? source : read_source(text), options);
        if (fixed == text) break;
        text = std::move(fixed);
    }
    return text;
}

std::string unified_difference(const std::string& before, const std::string& after) {
    dtl::Diff<std::string> difference(lines_of(before), lines_of(after));
    difference.onHuge();
    difference.compose();
    difference.composeUnifiedHunks();
    std::ostringstream text;
    difference.printUnifiedFormat(text);
    return text.str();
}

}  // namespace ruvo::ctl
