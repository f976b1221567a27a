#include "core/start_up.h"

#include "core/build_info.h"
#include "core/daemon_context.h"
#include "core/exception_text.h"
#include "core/log.h"
#include "core/network_info.h"
#include "core/paths.h"
#include "core/process_state.h"
#include "events/status_variables.h"
#include "execution/executor.h"
#include "execution/server_context.h"
#include "net/command_server.h"
#include "platform/shell.h"
#include "settings/load_settings.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <new>
#include <system_error>
#include <thread>

namespace ruvo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kWait{1};
// No dotted IPv4 address is shorter.
constexpr std::size_t kShortestIp = 7;

// Starts a thread that is never joined; returns 0 or the error number.
template <typename Body>
int start_thread(Body body) {
    try {
        std::thread(body, g_server_ctx).detach();
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

// Asks once more when there was no memory for the answer.
int status_item_count() {
    try {
        return renew_macro_var(*g_daemon_ctx);
    } catch (...) {
        static LogSite failed;
        log_line(failed, "Error: [%s:%d] renew_macro_var(): %s\n", "main", 1957, exception_text());
        return 0;
    }
}

}  // namespace

void print_version_line() {
    static LogSite version;
    log_line(version, "ruvotcp V%s.%s Build: %s %s +00:00\n", kVersion, kBuildVariant, kBuildDate,
             kBuildTime);
}

// "|| echo" keeps the shell's status 0 where the folder is there already.
void prepare_directories() {
    (void)_system("[ ! -d " RUVO_CONFIG_DIR " ] && mkdir -p " RUVO_CONFIG_DIR " || echo");
    (void)_system("[ ! -d " RUVO_CONFIG_DIR "/config ] && mkdir -p " RUVO_CONFIG_DIR
                  "/config || echo");
    (void)_system("[ ! -d " RUVO_CONFIG_DIR "/tmp ] && mkdir -p " RUVO_CONFIG_DIR "/tmp || echo");
}

void write_pid_file() {
    std::array<char, 256> command{};
    std::snprintf(command.data(), command.size(), "echo %d > /var/run/ruvotcp.pid",
                  static_cast<int>(::getpid()));
    (void)_system(command.data());
}

void clear_import_flag() { (void)_system("userconfigtool set boolean network.ruvo.import=false"); }

void announce_pid_file() {
    log_line_unrotated("[%s:%d] create /var/run/ruvotcp.pid=%d\n", "main", 1924,
                       static_cast<int>(::getpid()));
    g_log_ready.store(1, std::memory_order_relaxed);
}

void create_server_context() { g_server_ctx = new ServerContext(); }

void create_daemon_context() { g_daemon_ctx = new DaemonContext(); }

bool read_first_settings() {
    static LogSite failed;
    return load_settings(*g_daemon_ctx, 0, failed, "main", 1929);
}

void log_local_ip() {
    static LogSite ip;
    log_line(ip, "[%s:%d] ip=%s\n", "main", 1931, g_daemon_ctx->localIp.c_str());
}

bool start_threads() {
    if (const int error = start_thread(handle_tcp_event); error != 0) {
        static LogSite no_server;
        log_line(no_server, "Error: pthread_create handle_tcp_event(): %s\n", error_text(error));
        return false;
    }
    if (const int error = start_thread(handle_q_event); error != 0) {
        static LogSite no_queue;
        log_line(no_queue, "Error: pthread_create handle_q_event(): %s\n", error_text(error));
        return false;
    }
    return true;
}

void report_failed_start() noexcept {
    static LogSite failed;
    log_line(failed, "Error: [%s:%d] start-up: %s\n", "main", 1918, exception_text());
}

void wait_for_network() {
    const Clock::time_point begin = Clock::now();
    while (g_daemon_ctx->localIp.size() < kShortestIp) {
        std::this_thread::sleep_for(kWait);
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin);
        static LogSite waiting;
        log_line(waiting, "[%s:%d] wait network...%d\n", "main", 1949,
                 static_cast<int>(waited.count()));
        (void)renew_network_info(*g_daemon_ctx);
    }
}

void wait_for_status_service() {
    int attempts = 0;
    while (status_item_count() <= static_cast<int>(kTooFewStatusItems)) {
        ++attempts;
        static LogSite waiting;
        log_line(waiting, "[%s:%d] wait getStatus...%d\n", "main", 1959, attempts);
        std::this_thread::sleep_for(kWait);
    }
}

}  // namespace ruvo
