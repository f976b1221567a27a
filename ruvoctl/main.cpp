#include "ruvoctl/command_line.h"
#include "ruvoctl/exit_status.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    try {
        const int status = ruvo::ctl::run_command_line(argc, argv);
        // A full disk behind standard output is a failure like any other.
        return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? status : ruvo::ctl::kFailed;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "ruvoctl: %s\n", error.what());
        return ruvo::ctl::kFailed;
    }
}
