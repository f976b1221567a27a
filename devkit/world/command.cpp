#include "devkit/world/command.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace ruvo::devkit {

ArgumentList::ArgumentList(const std::vector<std::string>& arguments) {
    // The exec functions take pointers to mutable text and leave it alone.
    for (const std::string& argument : arguments) {
        pointers_.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers_.push_back(nullptr);
}

int become_command(const std::vector<std::string>& command) {
    ArgumentList list(command);
    execvp(list.file(), list.data());
    const int error = errno;
    std::cerr << "ruvo-world: " << command.front() << ": " << std::strerror(error) << "\n";
    return error == ENOENT ? kCommandNotFound : kCommandNotRunnable;
}

int exit_status_of(int wait_status) {
    if (WIFSIGNALED(wait_status)) return 128 + WTERMSIG(wait_status);
    return WEXITSTATUS(wait_status);
}

}  // namespace ruvo::devkit
