#include "devkit/world/namespaces.h"

#include "devkit/descriptor.h"
#include "devkit/errors.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <string>

namespace ruvo::devkit {
namespace {

void write_file(const std::string& path, const std::string& text) {
    const Descriptor fd(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!fd.valid()) throw_errno(path);
    if (::write(fd.get(), text.data(), text.size()) < 0) throw_errno(path);
}

std::string map_line(unsigned inside, unsigned outside) {
    return std::to_string(inside) + " " + std::to_string(outside) + " 1\n";
}

}  // namespace

void enter_user_namespace_unless_root(UserIds ids) {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (uid == 0) return;
    if (unshare(CLONE_NEWUSER) != 0) throw_errno("user namespace");
    // Without this the kernel refuses the map of the groups.
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", map_line(ids == UserIds::kKeep ? uid : 0, uid));
    write_file("/proc/self/gid_map", map_line(ids == UserIds::kKeep ? gid : 0, gid));
}

void enter_world_namespaces() {
    if (unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID) != 0) {
        throw_errno("mount, network and PID namespaces");
    }
}

}  // namespace ruvo::devkit
