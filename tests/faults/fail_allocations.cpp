// Lets the daemon run out of memory at a chosen allocation, however small: malloc, calloc
// and realloc return nothing when the control file of fail_calls says so, and operator
// new with them. Load it together with fail_calls, which holds the control file. Not for
// a build with sanitizers: their allocator is not behind these names.

#include <cerrno>
#include <cstddef>

#include "call_orders.h"

// The C library's own: looking up the next malloc may itself allocate.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

bool fails() {
    int error = 0;
    if (!must_fail(kAllocation, error)) return false;
    errno = error;
    return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return fails() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) noexcept {
    return fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
    return fails() ? nullptr : __libc_realloc(memory, size);
}

}  // extern "C"
