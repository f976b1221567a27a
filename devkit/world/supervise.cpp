#include "devkit/world/supervise.h"

#include "devkit/errors.h"
#include "devkit/world/command.h"

#include <sys/wait.h>

#include <cerrno>
#include <optional>

namespace ruvo::devkit {
namespace {

sigset_t supervised_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) sigaddset(&set, signal);
    return set;
}

// The status of `child` once it has ended.
std::optional<int> reap(pid_t child) {
    for (;;) {
        int wait_status = 0;
        const pid_t ended = waitpid(-1, &wait_status, WNOHANG);
        if (ended == child) return exit_status_of(wait_status);
        if (ended == 0) return std::nullopt;
        if (ended < 0 && errno != EINTR) throw_errno("waitpid");
    }
}

void pass_on(const siginfo_t& info, pid_t child) {
    // The terminal sends its interrupt to the child as well: once is enough.
    const bool is_from_terminal = info.si_signo == SIGINT && info.si_code == SI_KERNEL;
    if (!is_from_terminal) kill(child, info.si_signo);
}

}  // namespace

HeldSignals::HeldSignals() : before_() {
    // Where children are ignored their status is lost.
    signal(SIGCHLD, SIG_DFL);
    const sigset_t set = supervised_signals();
    sigprocmask(SIG_BLOCK, &set, &before_);
}

void HeldSignals::restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

int supervise(pid_t child) {
    const sigset_t set = supervised_signals();
    for (;;) {
        siginfo_t info{};
        if (sigwaitinfo(&set, &info) < 0) {
            if (errno == EINTR) continue;
            throw_errno("sigwaitinfo");
        }
        if (info.si_signo != SIGCHLD) {
            pass_on(info, child);
        } else if (const auto status = reap(child)) {
            return *status;
        }
    }
}

}  // namespace ruvo::devkit
