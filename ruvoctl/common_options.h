#pragma once

#include "core/number_text.h"
#include "ruvoctl/output/style.h"
#include "ruvoctl/verb.h"

#include <functional>
#include <string>

namespace ruvo::ctl {

// What every verb that reads settings takes.
struct CommonOptions {
    std::string file;  // "-" is standard input
    bool test = false;
    bool json = false;
    ColorChoice color = ColorChoice::kAuto;
};

// Declare the options on a verb; the texts and values end up in `options`.
void add_file_option(Verb& verb, CommonOptions& options);
void add_test_option(Verb& verb, CommonOptions& options);
// Calls `take` with the word size that --word names.
void add_word_option(Verb& verb, std::function<void(WordSize)> take);
void add_output_options(Verb& verb, CommonOptions& options);

}  // namespace ruvo::ctl
