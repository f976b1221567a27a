#include "core/log.h"

#include "core/log_file.h"
#include "core/process_state.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

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

// A formatted text. A usual one takes no memory, since it may be the one that says
// that there is none; a long one for which there is none is cut.
class Message {
  public:
    Message(const char* format, std::va_list arguments) {
        std::va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(usual_.data(), usual_.size(), format, arguments);
        text_ = {usual_.data(), std::min(as_size(length), usual_.size() - 1)};
        if (as_size(length) > text_.size()) format_long(as_size(length), format, again);
        va_end(again);
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    [[nodiscard]] std::string_view text() const { return text_; }

  private:
    static std::size_t as_size(int length) {
        return length > 0 ? static_cast<std::size_t>(length) : 0;
    }

    void format_long(std::size_t length, const char* format, std::va_list arguments) try {
        long_.resize(length);
        std::vsnprintf(long_.data(), length + 1, format, arguments);
        text_ = long_;
    } catch (const std::bad_alloc&) {
    }

    std::array<char, 512> usual_;
    std::string long_;
    std::string_view text_;
};

void write_to_standard_output(std::string_view text) {
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
    const Message message(format, arguments);
    va_end(arguments);

    write_to_standard_output(message.text());
    const UniqueFd file = open_log_file(kLogPath);
    if (!file) return;
    append_to_log(file, message.text());
    count_and_rotate(site);
}

void log_line_unrotated(const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    const Message message(format, arguments);
    va_end(arguments);

    const UniqueFd file = open_log_file(kLogPath);
    if (!file) return;
    write_to_standard_output(message.text());
    append_to_log(file, message.text());
}

void debug_line(const char* format, ...) {
    if (!debug_enabled()) return;
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    write_to_standard_output(Message(format, arguments).text());
    va_end(arguments);
}

void print_line(const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    write_to_standard_output(Message(format, arguments).text());
    va_end(arguments);
}

const char* error_text(int error_number) {
    // Texts of known numbers are constants; glibc (2.32 and later) keeps the text of an
    // unknown one per thread.
    return std::strerror(error_number);
}

}  // namespace ruvo
