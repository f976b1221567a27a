#include "ruvoctl/codec/words.h"

#include "ruvoctl/input_text.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace ruvo::ctl {
namespace {

bool is_option(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           std::isdigit(static_cast<unsigned char>(word[1])) == 0;
}

}  // namespace

Words read_words(const Verb& verb, const std::string& first) {
    std::vector<std::string> others = verb.others();
    const auto mark = std::find(others.begin(), others.end(), "--");
    const auto unknown = std::find_if(others.begin(), mark, is_option);
    if (unknown != mark)
        throw UsageError(
            fmt::format("there is no option {}", printable(*unknown, Backslash::kAsItIs)));
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
