#pragma once

#include "devkit/descriptor.h"

#include <filesystem>
#include <vector>

namespace ruvo::devkit {

// A file or folder, held open, that is to stay visible at its path.
struct KeptPath {
    std::filesystem::path path;
    Descriptor handle;
};

// Whether the path lies below one of the folders (the folder itself does not).
bool is_below_any(const std::filesystem::path& path,
                  const std::vector<std::filesystem::path>& folders);

// Opens what the covered folders would hide: the current directory, the folder of
// this program, and each path of `keep`, both as it is written and as its links
// resolve. What lies below another kept folder is left out. Throws
// std::system_error, and std::runtime_error for a path of `keep` that is itself to
// be covered.
std::vector<KeptPath> open_kept_paths(const std::vector<std::filesystem::path>& keep,
                                      const std::vector<std::filesystem::path>& covered);

// Makes the path again, in the emptied folder, and mounts what was held open.
void mount_kept_path(const KeptPath& kept);

}  // namespace ruvo::devkit
