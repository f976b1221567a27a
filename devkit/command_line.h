#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace ruvo::devkit {

inline constexpr int kUsageError = 2;

// What follows the program's name in the usage line.
void set_usage(CLI::App& app, const std::string& arguments);

// Parses the arguments. Nothing is returned when the program is to go on;
// otherwise the status to end with: 0 after --help, which is printed to standard
// output, and kUsageError after a bad argument, told on standard error together
// with the usage line.
std::optional<int> parse_command_line(CLI::App& app, int argc, char** argv);

// The same message for what only shows when the arguments are looked at together.
int usage_error(const CLI::App& app, const std::string& message);

}  // namespace ruvo::devkit
