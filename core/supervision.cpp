#include "core/supervision.h"

#include "core/log.h"
#include "core/paths.h"
#include "core/process_state.h"
#include "settings/load_settings.h"

#include <sys/stat.h>
#include <sys/sysinfo.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <thread>

namespace ruvo {
namespace {

constexpr std::chrono::microseconds kPassInterval{200000};
// Ten seconds: a file that never fits the memory is not read all the time.
constexpr int kPassesToRetry = 50;

bool window_over() { return g_power_on_window_over.load(std::memory_order_relaxed) != 0; }

void close_window_when_due() {
    if (g_uptime.load(std::memory_order_relaxed) > kPowerOnWindowSeconds)
        g_power_on_window_over.store(1, std::memory_order_relaxed);
}

std::int64_t system_uptime_s() {
    struct sysinfo info {};
    if (::sysinfo(&info) == 0) return info.uptime;
    return static_cast<std::int64_t>(std::time(nullptr)) -
           g_start_time.load(std::memory_order_relaxed);
}

// Measures the uptime once a second.
class UptimeWatch {
  public:
    UptimeWatch() : last_second_(std::time(nullptr)) {
        g_power_on_window_over.store(0, std::memory_order_relaxed);
        g_start_time.store(last_second_, std::memory_order_relaxed);
    }

    void look() {
        if (const std::time_t now = std::time(nullptr); now != last_second_) {
            g_uptime.store(system_uptime_s(), std::memory_order_relaxed);
            close_window_when_due();
            last_second_ = now;
        }
        // Read afresh: this is told only when a second begins between the readings.
        if (const std::time_t now = std::time(nullptr); !window_over() && now != last_second_) {
            close_window_when_due();
            log_line_unrotated("[%s:%d] t_uptime=%lld, enable hdmi plug=%d\n", "main", 1983,
                               static_cast<long long>(g_uptime.load(std::memory_order_relaxed)),
                               g_power_on_window_over.load(std::memory_order_relaxed));
            last_second_ = now;
        }
    }

  private:
    std::time_t last_second_;
};

// Tells when the settings file has another modification time than at the look before.
class SettingsWatch {
  public:
    // The first look at an existing file is no change. A file that can't be looked at
    // keeps the time it had.
    bool has_changed() {
        (void)::stat(kSettingsPath, &file_);
        const bool changed = seen_.tv_sec != 0 && (seen_.tv_sec != file_.st_mtim.tv_sec ||
                                                   seen_.tv_nsec != file_.st_mtim.tv_nsec);
        seen_ = file_.st_mtim;
        return changed;
    }

  private:
    struct stat file_ {};
    timespec seen_{};
};

// Keeps the event list as the settings file is.
class SettingsReader {
  public:
    explicit SettingsReader(bool read) { note(read); }

    // A change counts as seen, whatever the reading says.
    void look() {
        const bool changed = watch_.has_changed();
        const bool is_due = passes_to_retry_ > 0 && --passes_to_retry_ == 0;
        if (!changed && !is_due) return;
        static LogSite failed;
        note(load_settings(*g_daemon_ctx, 0, failed, "main", 1996));
    }

  private:
    void note(bool read) { passes_to_retry_ = read ? 0 : kPassesToRetry; }

    SettingsWatch watch_;
    int passes_to_retry_ = 0;  // 0: there is nothing to be read again
};

}  // namespace

void supervise(bool settings_read) {
    UptimeWatch uptime;
    SettingsReader settings(settings_read);
    for (;;) {
        uptime.look();
        std::this_thread::sleep_for(kPassInterval);
        settings.look();
    }
}

}  // namespace ruvo
