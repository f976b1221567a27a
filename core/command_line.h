#pragma once

namespace ruvo {

// Reads the command line: -d switches the debug messages on. Anything else gets
// getopt's diagnostic and changes nothing. Called once by the main thread.
void parse_command_line(int argc, char* const argv[]);

}  // namespace ruvo
