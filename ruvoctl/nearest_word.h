#pragma once

#include <span>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// The candidate that a word was most likely meant to be: the one with the fewest
// insertions, removals, replacements and swaps of neighbours, letters of either case
// being alike; the first of several. Empty when every candidate is too far off (more
// than a third of the word, at least one change).
std::string nearest_word(std::string_view word, std::span<const std::string> candidates);

}  // namespace ruvo::ctl
