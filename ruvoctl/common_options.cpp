#include "ruvoctl/common_options.h"

#include "core/paths.h"

#include <map>

namespace ruvo::ctl {

void add_file_option(CLI::App& verb, CommonOptions& options) {
    options.file = kSettingsPath;
    verb.add_option("-f,--file", options.file, "The settings file; - reads standard input")
        ->type_name("FILE")
        ->capture_default_str();
}

void add_test_option(CLI::App& verb, CommonOptions& options) {
    verb.add_flag("--test", options.test,
                  "By the rules of a test run: events are found by their names; no event delay, "
                  "no switch, no power-on window");
}

void add_output_options(CLI::App& verb, CommonOptions& options) {
    static const std::map<std::string, ColorChoice> choices{{"auto", ColorChoice::kAuto},
                                                            {"always", ColorChoice::kAlways},
                                                            {"never", ColorChoice::kNever}};
    verb.add_flag("--json", options.json, "Print one JSON document");
    verb.add_option("--color", options.color, "Colour: auto, always or never")
        ->type_name("WHEN")
        ->transform(CLI::CheckedTransformer(choices).description(""));
}

}  // namespace ruvo::ctl
