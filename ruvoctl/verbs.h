#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace ruvo::ctl {

// What the chosen verb does; returns the exit status.
using Run = std::function<int()>;

// Each adds its verb with its options. When the command line has chosen the verb, `run`
// is set to what there is to do.
void add_check_verb(CLI::App& app, Run& run);
void add_plan_verb(CLI::App& app, Run& run);
void add_encode_verb(CLI::App& app, Run& run);
void add_decode_verb(CLI::App& app, Run& run);

}  // namespace ruvo::ctl
