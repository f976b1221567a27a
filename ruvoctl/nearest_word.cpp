#include "ruvoctl/nearest_word.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <vector>

namespace ruvo::ctl {
namespace {

bool alike(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

// The optimal string alignment distance, three rows at a time.
std::size_t distance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= left.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t change = alike(left[i - 1], right[j - 1]) ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
            if (i > 1 && j > 1 && alike(left[i - 1], right[j - 2]) &&
                alike(left[i - 2], right[j - 1])) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[right.size()];
}

}  // namespace

std::string nearest_word(std::string_view word, std::span<const std::string> candidates) {
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t longer = std::max(word.size(), candidate.size());
        if (longer - std::min(word.size(), candidate.size()) >= least) continue;
        const std::size_t changes = distance(word, candidate);
        if (changes >= least) continue;
        least = changes;
        nearest = candidate;
    }
    return nearest;
}

}  // namespace ruvo::ctl
