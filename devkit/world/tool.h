#pragma once

#include <string>
#include <vector>

namespace ruvo::devkit {

struct ToolResult {
    int status;          // as a shell gives it; 127 when the tool is missing
    std::string output;  // standard output and standard error
};

// Runs a system tool with nothing on its standard input and waits for it. Looks
// for it beside the PATH in the folders of system tools, which an ordinary user's
// PATH lacks. Throws std::system_error when no process can be started.
ToolResult run_tool(const std::vector<std::string>& arguments);

}  // namespace ruvo::devkit
