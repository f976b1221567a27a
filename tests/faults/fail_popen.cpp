// Commands that cannot be started: of the commands that hold the text of
// RUVO_FAIL_POPEN_TEXT, the calls that RUVO_FAIL_POPEN names fail.
#include <dlfcn.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "call_range.h"

extern "C" FILE* popen(const char* command, const char* mode) {
    using Call = FILE* (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "popen"));
    static CallRange failing("RUVO_FAIL_POPEN");
    const char* const text = std::getenv("RUVO_FAIL_POPEN_TEXT");
    if (text != nullptr && std::strstr(command, text) != nullptr && failing.next_fails()) {
        errno = EAGAIN;
        return nullptr;
    }
    return real(command, mode);
}
