#include "core/file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace ruvo {
namespace {

constexpr int kLeaseLooks = 100;
constexpr std::chrono::milliseconds kLeaseRest{10};

// Looked at when it is open: what a path names may be exchanged at any moment.
bool is_file_or_folder(const UniqueFd& fd) {
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0) return false;
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return true;
    errno = ENXIO;
    return false;
}

UniqueFile stream_of(UniqueFd fd, const char* mode) {
    UniqueFile file(fd ? ::fdopen(fd.get(), mode) : nullptr);
    if (file) (void)fd.release();  // the stream's now
    return file;
}

UniqueFile stream_of_file_or_folder(UniqueFd fd, const char* mode) {
    if (!fd || !is_file_or_folder(fd)) return {};
    return stream_of(std::move(fd), mode);
}

}  // namespace

// No terminal that stands in a file's place becomes the one that controls the daemon.
UniqueFd open_at_once(const char* path, int flags) {
    for (int looks = 1;; ++looks) {
        UniqueFd fd(::open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
        if (fd || errno != EWOULDBLOCK || looks == kLeaseLooks) return fd;
        std::this_thread::sleep_for(kLeaseRest);
    }
}

UniqueFile open_for_reading(const char* path) {
    return stream_of_file_or_folder(open_at_once(path, O_RDONLY), "r");
}

UniqueFile open_for_appending(const char* path) {
    return stream_of_file_or_folder(open_at_once(path, O_WRONLY | O_APPEND | O_CREAT), "a");
}

UniqueFile open_truncated(const char* path) {
    return stream_of(open_at_once(path, O_WRONLY | O_CREAT | O_TRUNC), "w");
}

}  // namespace ruvo
