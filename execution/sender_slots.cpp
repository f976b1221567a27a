#include "execution/sender_slots.h"

#include "core/log.h"
#include "execution/server_context.h"

namespace ruvo {

std::int32_t get_new_ret_thread(ServerContext& server, const std::string& event_name) {
    for (std::int32_t i = 0; i < kSenderSlots; ++i) {
        const auto slot = static_cast<std::size_t>(i);
        std::atomic<std::int32_t>& state = server.thread_state[slot];
        // Pairs with the sender's release store of kSlotFinished.
        const std::int32_t now = state.load(std::memory_order_acquire);
        if (now == kSlotFree) {
            state.store(kSlotReserved, std::memory_order_relaxed);
            debug_line("[%s:%d] get thread id=%d\n", "get_new_ret_thread", 57, i);
            return i;
        }
        if (now == kSlotFinished) {
            server.threads[slot].join();
            state.store(kSlotFree, std::memory_order_relaxed);
            debug_line("[%s:%d] free thread id=%d\n", "get_new_ret_thread", 63, i);
        }
    }
    // The spelling belongs to the text.
    debug_line("[%s:%d] Error: skip %s, event thead over %d\n", "get_new_ret_thread", 68,
               event_name.c_str(), kSenderSlots);
    return -1;
}

}  // namespace ruvo
