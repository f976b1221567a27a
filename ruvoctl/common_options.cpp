#include "ruvoctl/common_options.h"

#include "core/paths.h"
#include "ruvoctl/named_choice.h"

#include <map>
#include <utility>

namespace ruvo::ctl {

void add_file_option(Verb& verb, CommonOptions& options) {
    options.file = kSettingsPath;
    verb.add_option("-f,--file", options.file, "The settings file; - reads standard input",
                    {.type_name = "FILE", .shows_default = true});
}

void add_test_option(Verb& verb, CommonOptions& options) {
    verb.add_flag("--test", options.test,
                  "By the rules of a test run: events are found by their names; no event delay, "
                  "no switch, no power-on window");
}

void add_word_option(Verb& verb, std::function<void(WordSize)> take) {
    static const std::map<std::string, WordSize> words{{"32", WordSize::k32},
                                                       {"64", WordSize::k64}};
    verb.add_taker("--word",
                   [take = std::move(take)](const std::string& word) {
                       take(named_choice("--word", word, words));
                   },
                   "The device's word size: 32 or 64", {.type_name = "BITS"});
}

void add_output_options(Verb& verb, CommonOptions& options) {
    static const std::map<std::string, ColorChoice> choices{{"auto", ColorChoice::kAuto},
                                                            {"always", ColorChoice::kAlways},
                                                            {"never", ColorChoice::kNever}};
    verb.add_flag("--json", options.json, "Print one JSON document");
    verb.add_taker("--color",
                   [&options](const std::string& word) {
                       options.color = named_choice("--color", word, choices);
                   },
                   "Colour: auto, always or never", {.type_name = "WHEN"});
}

}  // namespace ruvo::ctl
