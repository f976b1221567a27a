#pragma once

namespace ruvo::ctl {

// Parses the arguments, runs the verb they name and returns the exit status; talk goes
// to standard error. Throws nothing: what ends a verb is told and its status is kFailed.
int run_command_line(int argc, char** argv);

}  // namespace ruvo::ctl
