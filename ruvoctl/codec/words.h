#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace ruvo::ctl {

// The arguments of a verb that takes any text: brackets, braces and quotes in them mean
// nothing to the command line.
struct Words {
    std::string text;                  // joined by single blanks
    bool from_standard_input = false;  // "-" stands for it
};

// Declares the arguments on a verb: the first goes to `first`, `read_words` adds the others.
void add_words(CLI::App& verb, const std::string& name, std::string& first,
               const std::string& description);

// All arguments of a verb that has been parsed. Throws CLI::ParseError for an unknown
// option.
Words read_words(const CLI::App& verb, const std::string& first);

// The text itself, or all of standard input. Throws FileError.
std::string fetch_text(const Words& words);

}  // namespace ruvo::ctl
