#pragma once

#include <cstdint>
#include <string>

namespace ruvo {

// What the options leave behind, beside the process-wide debug flag and log level.
struct CommandLine {
    // Nothing reads it: the command port is always on 127.0.0.1.
    std::string binding_ip;
    // 1 once --client (--cmd) was given, 0 again once an option behind it has stored into
    // a flag with an empty argument, or with none.
    std::int32_t client_flag = 0;
    std::int32_t cmd_flag = 0;
    // The last argument of --client or --cmd, cut to 2047 bytes. A client request sends
    // the first; nothing reads the second.
    std::string client_text;
    std::string cmd_text;
};

// Reads the options in their order and does what each one says at once: --client and
// --cmd send their request while the options behind them are still unread; -h and -v
// print and end the process with status 0. What is unknown or lacks its argument gets
// getopt's diagnostic and changes nothing. Called once, by the main thread, before any
// other starts.
CommandLine read_options(int argc, char* const argv[]);

// The same for main: returns whether a client request was made, so that no daemon starts.
[[nodiscard]] bool parse_command_line(int argc, char* const argv[]);

// Writes the help text to standard output.
void usage();

}  // namespace ruvo
