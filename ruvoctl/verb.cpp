#include "ruvoctl/verb.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace ruvo::ctl {
namespace {

std::string why_empty(const std::string& value) { return value.empty() ? "it is empty" : ""; }

void set_taking(CLI::Option& option, const Taking& taking) {
    if (taking.type_name != nullptr) option.type_name(taking.type_name);
    if (taking.check) option.check(taking.check);
    if (!taking.takes_empty && !option.get_positional()) option.check(why_empty);
    for (const char* const other : taking.excludes) option.excludes(other);
    if (taking.shows_default) option.capture_default_str();
}

// The parser takes "--" for the end of a verb that waits for no word any more, and what is
// behind it for the program's own. So this verb waits for one more, which no word ever is.
void keep_mark(CLI::App& parser) {
    parser.validate_positionals();
    parser
        .add_option_function<std::string>(
            "MORE", [](const std::string&) {},
            "Joined to it by blanks; behind -- nothing is an option")
        ->type_name("...")
        ->check([](const std::string&) { return "never taken"; });
}

}  // namespace

void Verb::set_footer(const std::string& text) { parser_->footer(text); }

void Verb::add_flag(const char* name, bool& given, const char* help, const Taking& taking) {
    Taking flag = taking;
    flag.takes_empty = true;  // it takes nothing at all
    set_taking(*parser_->add_flag(name, given, help), flag);
}

void Verb::add_option(const char* names, std::string& value, const char* help,
                      const Taking& taking) {
    set_taking(*parser_->add_option(names, value, help), taking);
}

void Verb::add_list(const char* names, std::vector<std::string>& values, const char* help,
                    const Taking& taking) {
    CLI::Option* const option = parser_->add_option(names, values, help);
    if (!option->get_positional()) option->allow_extra_args(false);
    set_taking(*option, taking);
}

void Verb::add_number(const char* names, std::int64_t& value, std::int64_t max, const char* help,
                      const Taking& taking) {
    CLI::Option* const option = parser_->add_option(names, value, help);
    option->check(CLI::Range(std::int64_t{0}, max).description(""));
    set_taking(*option, taking);
}

void Verb::add_taker(const char* names, const std::function<void(const std::string&)>& take,
                     const char* help, const Taking& taking) {
    set_taking(*parser_->add_option_function<std::string>(names, take, help), taking);
}

// An option of one value takes it as it stands; a list would take "[CR]" apart. So the
// first word is an option, and those behind it are what the parser leaves over.
void Verb::add_words(const char* name, std::string& first, const char* help) {
    parser_->add_option(name, first, help)->type_name("...")->required();
    parser_->allow_extras();
    keep_mark(*parser_);
}

Verb Verb::add_group(const char* name, const char* help) {
    CLI::App* const group = parser_->add_option_group(name, help);
    group->require_option(0, 1);
    return {*group, *run_};
}

void Verb::when_chosen(std::function<Run()> prepare) {
    parser_->final_callback([run = run_, prepare = std::move(prepare)] { *run = prepare(); });
}

bool Verb::is_given(const char* name) const { return parser_->count(name) > 0; }

std::vector<std::string> Verb::others() const { return parser_->remaining(); }

}  // namespace ruvo::ctl
