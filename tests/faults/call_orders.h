#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>

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
    kConnect,
    kSendto,
    kOpenToRead,
    kOpenToWrite,
    kWrite,
    kRename,
    kStat,
    kPopen,
    kSystem,
    kPthreadCreate,
    kGetifaddrs,
    kSysinfo,
    kAllocation,
    kBigAllocation,
    // Counted only: the sleeps between the passes of the queue and the supervision.
    kQueuePass,
    kSupervisionPass,
    kOrderedCalls
};

// One call's orders: let `calls_to_pass` of them through, then fail `calls_to_fail`. Both
// count only the calls whose path or command holds the text `only`.
struct CallOrders {
    std::atomic<std::int32_t> error;
    std::atomic<std::int32_t> calls_to_pass;
    std::atomic<std::int32_t> calls_to_fail;
    std::atomic<std::int32_t> calls;  // so far, whatever became of them
    char only[112];
};
static_assert(sizeof(CallOrders) == 128);

// The orders in the file that RUVO_CALL_ORDERS names; null where there is none
// and in every program but the daemon (its shell commands inherit the library).
CallOrders* call_orders();

// True when this call is to fail; `error` then holds the error number.
inline bool must_fail(OrderedCall call, int& error, const char* text = "") {
    CallOrders* const all = call_orders();
    if (all == nullptr) return false;
    CallOrders& orders = all[call];
    orders.calls.fetch_add(1);
    if (orders.calls_to_fail.load() <= 0) return false;
    if (std::strstr(text, orders.only) == nullptr) return false;
    if (orders.calls_to_pass.fetch_sub(1) > 0) return false;
    if (orders.calls_to_fail.fetch_sub(1) <= 0) return false;
    error = orders.error.load();
    return true;
}
