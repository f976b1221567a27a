#include "devkit/world/tool.h"

#include "devkit/descriptor.h"
#include "devkit/errors.h"
#include "devkit/world/command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace ruvo::devkit {
namespace {

struct Pipe {
    Descriptor read_end;
    Descriptor write_end;
};

Pipe open_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw_errno("pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// In the child: never returns.
[[noreturn]] void become_tool(const std::vector<std::string>& arguments, int output_fd) {
    const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO);
    dup2(output_fd, STDOUT_FILENO);
    dup2(output_fd, STDERR_FILENO);
    ArgumentList list(arguments);
    execvp(list.file(), list.data());
    for (const char* const folder : {"/usr/sbin/", "/sbin/"}) {
        execv((folder + arguments.front()).c_str(), list.data());
    }
    _exit(kCommandNotFound);
}

std::string read_to_end(int fd) {
    std::string text;
    std::array<char, 1024> buffer{};
    for (;;) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n > 0) text.append(buffer.data(), static_cast<std::size_t>(n));
        if (n == 0 || (n < 0 && errno != EINTR)) return text;
    }
}

int wait_for(pid_t pid) {
    int wait_status = 0;
    while (waitpid(pid, &wait_status, 0) < 0) {
        if (errno != EINTR) throw_errno("waitpid");
    }
    return exit_status_of(wait_status);
}

}  // namespace

ToolResult run_tool(const std::vector<std::string>& arguments) {
    Pipe pipe = open_pipe();
    const pid_t pid = fork();
    if (pid < 0) throw_errno("fork");
    if (pid == 0) become_tool(arguments, pipe.write_end.get());
    pipe.write_end.reset();
    std::string output = read_to_end(pipe.read_end.get());
    return {wait_for(pid), std::move(output)};
}

}  // namespace ruvo::devkit
