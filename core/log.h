#pragma once

#include <atomic>
#include <cstdint>

namespace ruvo {

// One logging statement's own count of written messages since its last rotation.
// Declare it as a function-local static right before the statement.
struct LogSite {
    std::atomic<std::int32_t> written{0};
};

// The operations below format as printf does, may be called by any thread, never
// fail towards their caller and leave errno alone. Every message goes to each output
// whole, so it is never found inside another one.

// Writes to standard output, then appends to /var/log/ruvo.log, which is opened
// and closed for the message. The site's 20000th message in the file renames the
// file to /var/log/ruvo.log.1. A message that cannot reach the file is not counted.
[[gnu::format(printf, 2, 3)]] void log_line(LogSite& site, const char* format, ...);

// Writes to the file and to standard output, but to neither when the file cannot
// be opened; never counts and never rotates.
[[gnu::format(printf, 1, 2)]] void log_line_unrotated(const char* format, ...);

// Writes to standard output only, and only while the debug flag is set.
[[gnu::format(printf, 1, 2)]] void debug_line(const char* format, ...);

// Writes to standard output only, whatever the flags say.
[[gnu::format(printf, 1, 2)]] void print_line(const char* format, ...);

// The system's text for an errno value.
const char* error_text(int error_number);

}  // namespace ruvo
