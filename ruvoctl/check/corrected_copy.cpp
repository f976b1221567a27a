#include "ruvoctl/check/corrected_copy.h"

#include "ruvoctl/output/printable.h"

#include <fmt/format.h>
#include <dtl/dtl.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ruvo::ctl {
namespace {

// A fix may bring to light what stood in its shadow; more rounds than this only go in
// circles.
constexpr int kMostRounds = 40;

// Fixes are made in this order, those of one line of the table together: each is made out
// from the names and numbers that the text before it has. What is not in the table
// replaces values and comes between the last two lines.
constexpr std::array<std::pair<std::string_view, int>, 22> kTurns = {{
    {"byte-order-mark", 0},    {"cr-line-ends", 0},        {"comment-is-setting", 1},
    {"field-word-voids", 2},   {"field-in-name", 2},       {"field-at-beginning", 2},
    {"blank-in-key", 3},       {"blank-before-equals", 3}, {"count-blank", 3},
    {"unknown-key", 3},        {"index-not-a-number", 3},  {"event-field-index", 3},
    {"built-in-case", 4},      {"missing-index", 5},       {"duplicate-count", 6},
    {"count-missing", 7},      {"count-garbage", 7},       {"count-above-128", 7},
    {"index-beyond-count", 7}, {"indices-from-1", 8},      {"delay-order", 10},
    {"delay-gap", 11},
}};
constexpr int kValueTurn = 9;
constexpr int kTurnsEnd = 12;

int turn_of(std::string_view id) {
    const auto found = std::find_if(kTurns.begin(), kTurns.end(),
                                    [&](const auto& turn) { return turn.first == id; });
    return found == kTurns.end() ? kValueTurn : found->second;
}

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

// Whether a text is no worse than the one before: not void where that was not, and at
// least as much of it is sent as it is written. Where an event comes into being, its own
// errors come to light; from values on there is no excuse for more of them.
bool is_no_worse(const std::string& text, const CheckSummary& before, int turn,
                 const CheckOptions& options) {
    const CheckSummary after = check_settings(read_source(text), options).summary;
    return after.fatal <= before.fatal && after.sends_as_written >= before.sends_as_written &&
           (turn < kValueTurn || after.errors <= before.errors);
}

// Makes the fixes of one file, round by round. What did harm is not tried again before all
// the others are made.
class Corrector {
  public:
    explicit Corrector(const CheckOptions& options) : options_(options) {}

    // The text with the fixes of the first turn that has some which do no harm.
    std::string fix_once(const SettingsSource& source) {
        const CheckResult found = check_settings(source, options_);
        for (int turn = 0; turn < kTurnsEnd; ++turn) {
            std::string text = fix_in_turn(source, found, turn);
            if (text == source.text) continue;
            has_changed_ = true;
            return text;
        }
        return source.text;
    }

    // Whether what did harm may do none by now.
    bool reconsider() {
        const bool worth = has_changed_ && !refused_.empty();
        refused_.clear();
        has_changed_ = false;
        return worth;
    }

  private:
    std::string fix_in_turn(const SettingsSource& source, const CheckResult& found, int turn) {
        std::vector<const Diagnostic*> of_turn;
        EditSet edits;
        for (const Diagnostic& diagnostic : found.diagnostics) {
            if (turn_of(diagnostic.id) != turn || diagnostic.fix.empty()) continue;
            if (refused_.contains(name_of(diagnostic))) continue;
            of_turn.push_back(&diagnostic);
            edits.add(diagnostic.fix);
        }
        if (of_turn.empty()) return source.text;
        std::string text = apply_edits(source.text, edits.take());
        if (is_no_worse(text, found.summary, turn, options_)) return text;
        return fix_one_by_one(source, found.summary, of_turn);
    }

    // Fixes that do well alone may do harm together: each is made only if it does none.
    std::string fix_one_by_one(const SettingsSource& source, const CheckSummary& before,
                               const std::vector<const Diagnostic*>& diagnostics) {
        std::string text = source.text;
        EditSet made;
        for (const Diagnostic* const diagnostic : diagnostics) {
            EditSet more = made;
            more.add(diagnostic->fix);
            std::string candidate = apply_edits(source.text, more.take());
            if (!is_worth_trying() ||
                !is_no_worse(candidate, before, turn_of(diagnostic->id), options_)) {
                refused_.insert(name_of(*diagnostic));
                continue;
            }
            made = std::move(more);
            text = std::move(candidate);
        }
        return text;
    }

    // Each try costs a check of the whole file.
    bool is_worth_trying() {
        constexpr int kMostTried = 200;
        return ++tried_ <= kMostTried;
    }

    // What stays of a fix when the lines in front of it change.
    static std::string name_of(const Diagnostic& diagnostic) {
        std::string name(diagnostic.id);
        name += '\n' + diagnostic.cause;
        for (const Edit& edit : diagnostic.fix) name += '\n' + edit.text;
        return name;
    }

    const CheckOptions& options_;
    std::unordered_set<std::string> refused_;
    bool has_changed_ = false;
    int tried_ = 0;
};

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size());
        lines.push_back(text_of(text.substr(begin, feed - begin)));
        begin = feed + 1;
    }
    return lines;
}

// As much of a line as a person wants to see.
std::string shown_line(std::string_view line) {
    constexpr std::size_t kMostShown = 300;
    line = line.substr(0, line.find_first_of("\r\n"));
    const std::string shown = text_of(line.substr(0, kMostShown));
    return line.size() > kMostShown ? shown + "..." : shown;
}

// The corrected line, or of a long one the piece around the edits.
std::string corrected_line(const SettingsSource& source, std::size_t line,
                           const std::vector<Edit>& edits) {
    constexpr std::size_t kAround = 100;
    constexpr std::size_t kLongLine = 300;
    std::size_t begin = source.line_offset(line);
    std::size_t end = begin + source.line_text(line).size();
    if (end - begin > kLongLine) {
        begin = edits.front().offset - std::min(edits.front().offset - begin, kAround);
        end = std::min(end, end_of(edits.front()) + kAround);
    }
    std::vector<Edit> inside;
    for (const Edit& edit : edits) {
        if (edit.offset >= begin && end_of(edit) <= end) {
            inside.push_back({edit.offset - begin, edit.length, edit.text});
        }
    }
    return shown_line(apply_edits(source.text.substr(begin, end - begin), std::move(inside)));
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
    std::map<std::size_t, std::vector<Edit>> by_line;
    for (const Edit& edit : edits) {
        const std::size_t line = source.position(edit.offset).line;
        const std::size_t length = source.line_text(line).size();
        if (edit.length == 0 && (edit.text.ends_with('\n') || edit.text.starts_with('\n'))) {
            const auto text =
                std::string_view(edit.text).substr(edit.text.starts_with('\n') ? 1 : 0);
            lines.push_back("(add) " + shown_line(text));
        } else if (edit.text.empty() && edit.length >= length) {
            lines.push_back(fmt::format("(remove line {})", line));
        } else {
            by_line[line].push_back(edit);
        }
    }
    std::vector<std::string> corrected;
    corrected.reserve(by_line.size() + lines.size());
    for (const auto& [line, changes] : by_line) {
        corrected.push_back(corrected_line(source, line, changes));
    }
    corrected.insert(corrected.end(), lines.begin(), lines.end());
    return corrected;
}

std::string corrected_copy(const SettingsSource& source, const CheckOptions& options) {
    Corrector corrector(options);
    std::string text = source.text;
    for (int round = 0; round < kMostRounds; ++round) {
        std::string fixed = corrector.fix_once(round == 0 ? source : read_source(text));
        if (fixed == text && !corrector.reconsider()) break;
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
