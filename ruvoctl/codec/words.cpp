#include "ruvoctl/codec/words.h"

#include "ruvoctl/input_text.h"

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

// An option of one value takes it as it stands; a list would take "[CR]" apart. So the
// first word is an option, and those behind it are what the parser leaves over.
void add_words(CLI::App& verb, const std::string& name, std::string& first,
               const std::string& description) {
    verb.add_option(name, first, description)->type_name("...")->required();
    verb.allow_extras();
}

Words read_words(const CLI::App& verb, const std::string& first) {
    std::vector<std::string> others = verb.remaining();
    const auto mark = std::find(others.begin(), others.end(), "--");
    const auto unknown = std::find_if(others.begin(), mark, is_option);
    if (unknown != mark) throw CLI::ExtrasError({*unknown});
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
