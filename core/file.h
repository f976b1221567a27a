#pragma once

#include <cstdio>
#include <memory>

namespace ruvo {

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

// Owns a stdio stream and closes it; empty when the open failed.
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

// Opens close-on-exec, since the daemon runs shell commands. The modes are "r",
// "w" and "a"; on failure the result is empty and errno says why.
inline UniqueFile open_for_reading(const char* path) { return UniqueFile(std::fopen(path, "re")); }
inline UniqueFile open_truncated(const char* path) { return UniqueFile(std::fopen(path, "we")); }
inline UniqueFile open_for_appending(const char* path) {
    return UniqueFile(std::fopen(path, "ae"));
}

}  // namespace ruvo
