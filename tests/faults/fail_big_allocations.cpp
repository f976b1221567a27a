// Lets the daemon run out of memory for one large request: an operator new of
// 200000 bytes or more throws when the control file of fail_calls says so. Load
// it together with fail_calls, which holds the control file.

#include <cstddef>
#include <new>

#include "call_orders.h"
#include "next_call.h"

void* operator new(std::size_t size) {
    static constinit NextCall<void*(std::size_t)> next("_Znwm");
    int error = 0;
    if (size >= 200000 && must_fail(kBigAllocation, error)) throw std::bad_alloc();
    return next.get()(size);
}
