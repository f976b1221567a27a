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

// The parser takes "--" for the end of a verb that waits for no word any more, and what is
// behind it for the program's own. So this verb waits for one more, which no word ever is.
void keep_mark(CLI::App& verb) {
    verb.validate_positionals();
    verb.add_option_function<std::string>(
            "MORE", [](const std::string&) {},
            "Joined to it by blanks; behind -- nothing is an option")
        ->type_name("...")
        ->check([](const std::string&) { return "never taken"; });
}

}  // namespace

// An option of one value takes it as it stands; a list would take "[CR]" apart. So the
// first word is an option, and those behind it are what the parser leaves over.
void add_words(CLI::App& verb, const std::string& name, std::string& first,
               const std::string& description) {
    verb.add_option(name, first, description)->type_name("...")->required();
    verb.allow_extras();
    keep_mark(verb);
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
