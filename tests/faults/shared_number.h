#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// A 64-bit number in the file that an environment variable names, which a test changes
// while the daemon runs. In every other process, and without the variable, it is 0.
// Opened by the library's constructor: until then sanitizers may ask, too.
class SharedNumber {
  public:
    constexpr SharedNumber() = default;

    void open(const char* variable) {
        const char* const path = std::getenv(variable);
        if (path == nullptr || std::strcmp(program_invocation_short_name, "ruvotcpd") != 0) return;
        const int file = ::open(path, O_RDWR | O_CLOEXEC);
        if (file < 0) return;
        void* const memory = mmap(nullptr, sizeof(Number), PROT_READ, MAP_SHARED, file, 0);
        close(file);
        if (memory != MAP_FAILED) number_ = static_cast<Number*>(memory);
    }

    [[nodiscard]] std::int64_t value() const { return number_ == nullptr ? 0 : number_->load(); }

  private:
    using Number = std::atomic<std::int64_t>;
    Number* number_ = nullptr;
};
