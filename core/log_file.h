#pragma once

#include "core/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <string_view>

namespace ruvo {

// A log file is opened for each text and closed behind it, so that nobody who renames,
// deletes or truncates it is in the way.

// Made when it is not there, close-on-exec; empty when it can't be opened.
inline UniqueFd open_log_file(const char* path) {
    return UniqueFd(::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
}

// One write, so texts of different threads do not mix. A full disk costs the text.
inline void append_to_log(const UniqueFd& file, std::string_view text) {
    [[maybe_unused]] const ssize_t written = ::write(file.get(), text.data(), text.size());
}

}  // namespace ruvo
