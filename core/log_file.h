#pragma once

#include "core/file.h"

#include <fcntl.h>
#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace ruvo {

// A log file is opened for each text and closed behind it, so that nobody who renames,
// deletes or truncates it is in the way, and nobody who reads it as a FIFO. Any thread.

// Made when it is not there, close-on-exec; empty when it can't be opened.
inline UniqueFd open_log_file(const char* path) {
    return open_at_once(path, O_WRONLY | O_APPEND | O_CREAT);
}

// The pieces of a text in one write, so texts of different threads do not mix. A full
// disk costs the text.
template <typename... Pieces>
void append_to_log(const UniqueFd& file, const Pieces&... pieces) {
    const auto vector_of = [](std::string_view piece) {
        return iovec{.iov_base = const_cast<char*>(piece.data()), .iov_len = piece.size()};
    };
    const std::array<iovec, sizeof...(Pieces)> vectors{vector_of(pieces)...};
    [[maybe_unused]] const ssize_t written =
        ::writev(file.get(), vectors.data(), static_cast<int>(vectors.size()));
}

}  // namespace ruvo
