#pragma once

#include <filesystem>
#include <vector>

namespace ruvo::devkit {

// Covers /mnt, /tmp, /var/log and /run (and /var/run where it is a folder of its
// own) with empty folders in memory, keeps `keep`, this program and the current
// directory visible, and mounts a /proc of this PID namespace. To be called in a
// mount namespace of its own; throws std::system_error or std::runtime_error.
void build_private_files(const std::vector<std::filesystem::path>& keep);

}  // namespace ruvo::devkit
