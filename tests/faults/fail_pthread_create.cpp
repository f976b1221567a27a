// Threads that cannot start: RUVO_FAIL_PTHREAD_CREATE names the failing calls.
// RUVO_PTHREAD_CREATE_LOG names a file that gets one line for each call, with
// the stack size that was asked for or "default".
#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "call_range.h"

namespace {

void note_attributes(const pthread_attr_t* attributes) {
    const char* const path = std::getenv("RUVO_PTHREAD_CREATE_LOG");
    if (path == nullptr) return;
    std::FILE* const file = std::fopen(path, "ae");
    if (file == nullptr) return;
    if (attributes == nullptr) {
        std::fputs("default\n", file);
    } else {
        std::size_t bytes = 0;
        pthread_attr_getstacksize(attributes, &bytes);
        std::fprintf(file, "%zu\n", bytes);
    }
    std::fclose(file);
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) {
    using Call = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "pthread_create"));
    static CallRange failing("RUVO_FAIL_PTHREAD_CREATE");
    if (failing.next_fails()) return EAGAIN;
    note_attributes(attributes);
    return real(thread, attributes, body, argument);
}
