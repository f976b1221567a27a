#include "devkit/world/kept_paths.h"

#include "devkit/errors.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

namespace ruvo::devkit {
namespace {

namespace fs = std::filesystem;

bool is_below(const fs::path& path, const fs::path& folder) {
    const auto [in_folder, in_path] =
        std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return in_folder == folder.end() && in_path != path.end();
}

bool is_one_of(const fs::path& path, const std::vector<fs::path>& folders) {
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

// Without "." and "..", and without a slash at the end.
fs::path plain(const fs::path& path) {
    const fs::path normal = fs::absolute(path).lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

// Parents come before what is below them, since a set of paths is ordered so.
std::set<fs::path> wanted_paths(const std::vector<fs::path>& keep,
                                const std::vector<fs::path>& covered) {
    std::set<fs::path> wanted = {fs::current_path()};
    const fs::path program = fs::read_symlink("/proc/self/exe");
    // A program that lies directly in a covered folder is kept alone.
    wanted.insert(is_one_of(program.parent_path(), covered) ? program : program.parent_path());
    for (const fs::path& path : keep) {
        const fs::path resolved = fs::canonical(path);
        if (is_one_of(resolved, covered)) {
            throw std::runtime_error("--keep " + path.string() +
                                     ": the world has its own; keep something below it");
        }
        wanted.insert(resolved);
        wanted.insert(plain(path));
    }
    return wanted;
}

void make_mount_point(const fs::path& path, bool is_folder) {
    if (is_folder) {
        fs::create_directories(path);
        return;
    }
    fs::create_directories(path.parent_path());
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (!file.valid()) throw_errno(path.string());
}

}  // namespace

bool is_below_any(const fs::path& path, const std::vector<fs::path>& folders) {
    return std::any_of(folders.begin(), folders.end(),
                       [&path](const fs::path& folder) { return is_below(path, folder); });
}

std::vector<KeptPath> open_kept_paths(const std::vector<fs::path>& keep,
                                      const std::vector<fs::path>& covered) {
    std::vector<KeptPath> kept;
    std::vector<fs::path> open_paths;
    for (const fs::path& path : wanted_paths(keep, covered)) {
        if (!is_below_any(path, covered) || is_below_any(path, open_paths)) continue;
        Descriptor handle(::open(path.c_str(), O_PATH | O_CLOEXEC));
        if (!handle.valid()) throw_errno(path.string());
        kept.push_back({path, std::move(handle)});
        open_paths.push_back(path);
    }
    return kept;
}

void mount_kept_path(const KeptPath& kept) {
    struct stat status {};
    if (fstat(kept.handle.get(), &status) != 0) throw_errno(kept.path.string());
    make_mount_point(kept.path, S_ISDIR(status.st_mode));
    const std::string source = "/proc/self/fd/" + std::to_string(kept.handle.get());
    if (mount(source.c_str(), kept.path.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        throw_errno("keep " + kept.path.string());
    }
}

}  // namespace ruvo::devkit
