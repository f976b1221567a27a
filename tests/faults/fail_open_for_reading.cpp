// A file without permission to read: of the attempts to open the path of
// RUVO_FAIL_OPEN_PATH for reading only, those that RUVO_FAIL_OPEN names fail.
// Every way to open a file counts as one attempt.
#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "call_range.h"

namespace {

bool fails(const char* path, bool reading_only) {
    static CallRange failing("RUVO_FAIL_OPEN");
    const char* const wanted = std::getenv("RUVO_FAIL_OPEN_PATH");
    if (!reading_only || wanted == nullptr || std::strcmp(path, wanted) != 0) return false;
    if (!failing.next_fails()) return false;
    errno = EACCES;
    return true;
}

bool reads_only(const char* mode) { return mode[0] == 'r' && std::strchr(mode, '+') == nullptr; }
bool reads_only(int flags) { return (flags & O_ACCMODE) == O_RDONLY; }

template <typename Call>
Call real(const char* name) {
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

mode_t creation_mode(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

using FileCall = FILE* (*)(const char*, const char*);
using OpenCall = int (*)(const char*, int, ...);
using OpenAtCall = int (*)(int, const char*, int, ...);

}  // namespace

extern "C" {

FILE* fopen(const char* path, const char* mode) {
    static const auto next = real<FileCall>("fopen");
    return fails(path, reads_only(mode)) ? nullptr : next(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static const auto next = real<FileCall>("fopen64");
    return fails(path, reads_only(mode)) ? nullptr : next(path, mode);
}

int open(const char* path, int flags, ...) {
    static const auto next = real<OpenCall>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return fails(path, reads_only(flags)) ? -1 : next(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static const auto next = real<OpenCall>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return fails(path, reads_only(flags)) ? -1 : next(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    static const auto next = real<OpenAtCall>("openat");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return fails(path, reads_only(flags)) ? -1 : next(folder, path, flags, mode);
}

}  // extern "C"
