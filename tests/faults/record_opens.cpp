// A daemon that tells what it opens: a line of RUVO_OPENED for each file opened, "closes" or
// "stays" for what happens to it when a program is started, and its path.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "next_call.h"

namespace {

using OpenCall = int(const char*, int, ...);

NextCall<OpenCall> next_open("open");
NextCall<OpenCall> next_open64("open64");

void record(const char* path, int descriptor) {
    const char* const record_path = std::getenv("RUVO_OPENED");
    if (record_path == nullptr || descriptor < 0) return;
    const int error = errno;
    const bool closes = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
    std::array<char, 512> line{};
    const int length =
        std::snprintf(line.data(), line.size(), "%s %s\n", closes ? "closes" : "stays", path);
    const int file =
        next_open.get()(record_path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, mode_t{0600});
    if (file < 0 || ::write(file, line.data(), static_cast<size_t>(length)) != length) std::abort();
    ::close(file);
    errno = error;
}

mode_t creation_mode(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = next_open.get()(path, flags, creation_mode(flags, arguments));
    va_end(arguments);
    record(path, descriptor);
    return descriptor;
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = next_open64.get()(path, flags, creation_mode(flags, arguments));
    va_end(arguments);
    record(path, descriptor);
    return descriptor;
}

}  // extern "C"
