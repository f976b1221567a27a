#include "core/log.h"

#include "core/log_file.h"
#include "core/process_state.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

namespace ruvo {
namespace {

constexpr char kLogPath[] = "/var/log/ruvo.log";
constexpr char kRotatedLogPath[] = "/var/log/ruvo.log.1";
constexpr std::int32_t kRotationLimit = 20000;

// Callers hand errno's text to a message and go on to use errno itself.
class KeepErrno {
  public:
    KeepErrno() : saved_(errno) {}
    ~KeepErrno() { errno = saved_; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

  private:
    int saved_;
};

// The formatted text; empty when there is no memory for it.
std::string formatted(const char* format, std::va_list arguments) try {
    std::va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
} catch (const std::bad_alloc&) {
    return {};
}

void write_to_standard_output(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);  // nobody could be told
}

// Exactly one caller sees the limit, so threads that log at the same moment
// rename once.
void count_and_rotate(LogSite& site) {
    if (site.written.fetch_add(1, std::memory_order_relaxed) + 1 != kRotationLimit) return;
    (void)std::rename(kLogPath, kRotatedLogPath);  // counting starts over either way
    site.written.fetch_sub(kRotationLimit, std::memory_order_relaxed);
}

}  // namespace

void log_line(LogSite& site, const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);

    write_to_standard_output(text);
    const UniqueFd file = open_log_file(kLogPath);
    if (!file) return;
    append_to_log(file, text);
    count_and_rotate(site);
}

void log_line_unrotated(const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);

    const UniqueFd file = open_log_file(kLogPath);
    if (!file) return;
    write_to_standard_output(text);
    append_to_log(file, text);
}

void debug_line(const char* format, ...) {
    if (!debug_enabled()) return;
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    write_to_standard_output(formatted(format, arguments));
    va_end(arguments);
}

void print_line(const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    write_to_standard_output(formatted(format, arguments));
    va_end(arguments);
}

const char* error_text(int error_number) {
    // Texts of known numbers are constants; glibc (2.32 and later) keeps the text of an
    // unknown one per thread.
    return std::strerror(error_number);
}

}  // namespace ruvo
