#include "devkit/world/mounts.h"

#include "devkit/errors.h"
#include "devkit/world/kept_paths.h"

#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace ruvo::devkit {
namespace {

namespace fs = std::filesystem;

// Nothing mounted here is seen outside, nor the other way round.
void detach_mounts() {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        throw_errno("private mounts");
    }
}

std::vector<fs::path> folders_to_cover() {
    std::vector<fs::path> folders;
    for (const char* const path : {"/mnt", "/tmp", "/var/log", "/run", "/var/run"}) {
        const fs::path folder = fs::canonical(path);
        // /var/run is mostly a link to /run.
        const bool is_there = std::find(folders.begin(), folders.end(), folder) != folders.end();
        if (!is_there) folders.push_back(folder);
    }
    return folders;
}

void cover(const fs::path& folder) {
    const bool is_shared = folder == fs::canonical("/tmp");
    const char* const mode = is_shared ? "mode=1777" : "mode=0755";
    if (mount("ruvo-world", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, mode) != 0) {
        throw_errno("tmpfs on " + folder.string());
    }
}

void mount_proc() {
    if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        throw_errno("/proc");
    }
}

}  // namespace

void build_private_files(const std::vector<fs::path>& keep) {
    detach_mounts();
    const fs::path current = fs::current_path();
    const std::vector<fs::path> covered = folders_to_cover();
    const std::vector<KeptPath> kept = open_kept_paths(keep, covered);
    for (const fs::path& folder : covered) cover(folder);
    for (const KeptPath& path : kept) mount_kept_path(path);
    mount_proc();
    // The directory held so far is the one under the cover.
    if (chdir(current.c_str()) != 0) throw_errno(current.string());
}

}  // namespace ruvo::devkit
