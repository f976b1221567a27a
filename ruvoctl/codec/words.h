#pragma once

#include "ruvoctl/verb.h"

#include <string>

namespace ruvo::ctl {

// The arguments of a verb that takes any text: brackets, braces and quotes in them mean
// nothing to the command line.
struct Words {
    std::string text;                  // joined by single blanks
    bool from_standard_input = false;  // "-" stands for it
};

// All arguments of a verb that has been chosen. Throws UsageError for an unknown option.
Words read_words(const Verb& verb, const std::string& first);

// The text itself, or all of standard input. Throws FileError.
std::string fetch_text(const Words& words);

}  // namespace ruvo::ctl
