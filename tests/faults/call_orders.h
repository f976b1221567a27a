#pragma once

#include <atomic>
#include <cstdint>

// What a test and the preloaded libraries share: the test writes the file, the
// daemon's process maps it. The order of the calls is that of fault_orders.py.
enum OrderedCall : int {
    kSocket,
    kSetsockopt,
    kBind,
    kListen,
    kSelect,
    kAccept,
    kRecv,
    kSend,
    kPthreadCreate,
    kBigAllocation,
    kOrderedCalls
};

// One call's orders: let `calls_to_pass` of them through, then fail `calls_to_fail`.
struct CallOrders {
    std::atomic<std::int32_t> error;
    std::atomic<std::int32_t> calls_to_pass;
    std::atomic<std::int32_t> calls_to_fail;
};

// The orders in the file that RUVO_CALL_ORDERS names; null where there is none
// and in every program but the daemon (its shell commands inherit the library).
CallOrders* call_orders();

// True when this call is to fail; `error` then holds the error number.
inline bool must_fail(OrderedCall call, int& error) {
    CallOrders* const all = call_orders();
    if (all == nullptr) return false;
    CallOrders& orders = all[call];
    if (orders.calls_to_fail.load() <= 0) return false;
    if (orders.calls_to_pass.fetch_sub(1) > 0) return false;
    if (orders.calls_to_fail.fetch_sub(1) <= 0) return false;
    error = orders.error.load();
    return true;
}
