#include "devkit/world/uptime.h"

#include "devkit/descriptor.h"
#include "devkit/errors.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <string>

namespace ruvo::devkit {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr const char* kOffsetsPath = "/proc/self/timens_offsets";
constexpr const char* kNamespacePath = "/proc/self/ns/time_for_children";

// The caller's own offset against the machine's real uptime: not zero when it
// lives in a time namespace already. New offsets count from the real uptime too.
nanoseconds current_offset() {
    std::ifstream file(kOffsetsPath);
    if (!file) throw_errno(std::string("time namespaces (") + kOffsetsPath + ")");
    std::string clock;
    long long whole_seconds = 0;
    long long rest_ns = 0;
    while (file >> clock >> whole_seconds >> rest_ns) {
        if (clock == "boottime") return seconds(whole_seconds) + nanoseconds(rest_ns);
    }
    return nanoseconds(0);
}

nanoseconds current_uptime() {
    timespec now{};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) throw_errno("CLOCK_BOOTTIME");
    return seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

void write_offset(nanoseconds offset) {
    const auto whole_seconds = std::chrono::floor<seconds>(offset);
    const std::string line = "boottime " + std::to_string(whole_seconds.count()) + " " +
                             std::to_string((offset - whole_seconds).count()) + "\n";
    const Descriptor fd(::open(kOffsetsPath, O_WRONLY | O_CLOEXEC));
    if (!fd.valid()) throw_errno(kOffsetsPath);
    if (::write(fd.get(), line.data(), line.size()) < 0) throw_errno("set the uptime");
}

}  // namespace

void enter_uptime(nanoseconds uptime) {
    const nanoseconds offset_of_caller = current_offset();
    if (unshare(CLONE_NEWTIME) != 0) throw_errno("time namespace");
    write_offset(offset_of_caller + uptime - current_uptime());
    // The new namespace is for children only until this process joins it.
    const Descriptor fd(::open(kNamespacePath, O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) throw_errno(kNamespacePath);
    if (setns(fd.get(), CLONE_NEWTIME) != 0) throw_errno("enter the time namespace");
}

}  // namespace ruvo::devkit
