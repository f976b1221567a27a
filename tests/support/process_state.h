#pragma once

#include "core/process_state.h"

namespace ruvo::test {

// Gives a test the process-wide values as a fresh process has them, and leaves
// them so.
class FreshProcessState {
  public:
    FreshProcessState() { reset(); }
    ~FreshProcessState() { reset(); }
    FreshProcessState(const FreshProcessState&) = delete;
    FreshProcessState& operator=(const FreshProcessState&) = delete;

  private:
    static void reset() {
        g_daemon_ctx = nullptr;
        g_server_ctx = nullptr;
        g_uptime = 0;
        g_power_on_window_over = 0;
        g_start_time = 0;
        g_log_ready = 0;
        g_debug_flag = 0;
        g_log_level = 3;
    }
};

}  // namespace ruvo::test
