#include "devkit/world/world.h"

#include "devkit/descriptor.h"
#include "devkit/errors.h"
#include "devkit/world/command.h"
#include "devkit/world/mounts.h"
#include "devkit/world/namespaces.h"
#include "devkit/world/network.h"
#include "devkit/world/supervise.h"
#include "devkit/world/terminal.h"
#include "devkit/world/uptime.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace ruvo::devkit {
namespace {

// Only the launcher holds the write end: its end, however it comes, shows at the
// read end.
struct LifeLine {
    Descriptor read_end;
    Descriptor write_end;
};

LifeLine open_life_line() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw_errno("pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// When the launcher is killed, so is this process, and with it the whole world.
void end_with_launcher(LifeLine& life_line) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    life_line.write_end.reset();
    // It may have been killed just before.
    pollfd entry{life_line.read_end.get(), 0, 0};
    if (poll(&entry, 1, 0) != 0) _exit(kWorldFailed);
    life_line.read_end.reset();
}

int run_command(const WorldOptions& options, const HeldSignals& signals) {
    if (options.uptime) enter_uptime(*options.uptime);
    signals.restore();
    return become_command(options.command);
}

// The first process of the PID namespace: when it ends, all others are killed.
int run_first_process(const WorldOptions& options, const HeldSignals& signals,
                      LifeLine& life_line) {
    end_with_launcher(life_line);
    build_private_files(options.keep);
    build_network(options.interfaces);
    const pid_t command = fork();
    if (command < 0) throw_errno("fork");
    if (command == 0) return run_command(options, signals);
    return supervise(command);
}

}  // namespace

int run_in_world(const WorldOptions& options) {
    const HeldSignals signals;
    enter_user_namespace_unless_root(UserIds::kBecomeRoot);
    enter_world_namespaces();
    LifeLine life_line = open_life_line();
    const pid_t first = fork();
    if (first < 0) throw_errno("fork");
    if (first == 0) return run_first_process(options, signals, life_line);
    const HeldTerminal terminal;
    return supervise(first);
}

int run_with_uptime(const WorldOptions& options) {
    enter_user_namespace_unless_root(UserIds::kKeep);
    enter_uptime(options.uptime.value());
    return become_command(options.command);
}

}  // namespace ruvo::devkit
