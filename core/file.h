#pragma once

#include "core/unique_fd.h"

#include <cstdio>
#include <memory>

namespace ruvo {

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

// Owns a stdio stream and closes it; empty when the open failed.
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

// Whatever stands in a file's place, opening it and using it never waits for anybody: a
// FIFO that nobody reads can't be opened for writing, and one with a slow reader loses
// what it has no room for. Close-on-exec, since the daemon runs shell commands; errno says
// why the result is empty. A file that another program has a lease on is asked for once a
// hundredth of a second, for a second at most.
UniqueFd open_at_once(const char* path, int flags);

// For a file whose content counts: what is neither a regular file nor a folder can't be
// opened (ENXIO). A folder has no lines.
UniqueFile open_for_reading(const char* path);
UniqueFile open_for_appending(const char* path);  // made when it is not there

// For a text that shows the daemon's state: a device or a FIFO may stand in its place.
UniqueFile open_truncated(const char* path);

}  // namespace ruvo
