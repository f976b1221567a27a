#include "ruvoctl/codec/words.h"

#include "ruvoctl/characters.h"
#include "ruvoctl/input_text.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace ruvo::ctl {
namespace {

bool is_option(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !is_decimal_digit(word[1]);
}

}  // namespace

Words read_words(const Verb& verb, const std::string& first) {
    std::vector<std::string> others = verb.others();
    const auto mark = std::find(others.begin(), others.end(), "--");
    const auto unknown = std::find_if(others.begin(), mark, is_option);
    if (unknown != mark) throw UsageError(fmt::format("there is no option {}", text_of(*unknown)));
    Words words{.text = first};
    words.from_standard_input = first == "-" && others.empty();
    if (mark != others.end()) others.erase(mark);
    for (const std::string& word : others) words.text += " " + word;
    return words;
}

std::string fetch_text(const Words& words) {
    return words.from_standard_input ? read_input("-") : words.text;
}

}  // namespace ruvo::ctl
