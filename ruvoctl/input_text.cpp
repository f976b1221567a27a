#include "ruvoctl/input_text.h"

#include "core/file.h"
#include "ruvoctl/output/printable.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ruvo::ctl {
namespace {

[[noreturn]] void fail(const char* what, const std::string& path, int error) {
    throw FileError(fmt::format("cannot {} {}: {}", what, text_of(path), std::strerror(error)));
}

// A device has no end; a terminal's is what its user says.
bool is_endless(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) return false;
    return (S_ISCHR(status.st_mode) && ::isatty(fd) == 0) || S_ISBLK(status.st_mode);
}

// Whoever writes to a FIFO is read to the end; where nobody does, the end is here.
UniqueFile open_input(const std::string& path) {
    UniqueFd fd = open_at_once(path.c_str(), O_RDONLY);
    if (!fd) fail("read", path, errno);
    if (is_endless(fd.get()))
        throw FileError(fmt::format("cannot read {}: a device", text_of(path)));
    (void)::fcntl(fd.get(), F_SETFL, 0);  // waits for the writer from here on
    UniqueFile file(::fdopen(fd.get(), "r"));
    if (!file) fail("read", path, errno);
    (void)fd.release();
    return file;
}

std::string read_all(std::FILE* file, const std::string& path) {
    std::string text;
    std::array<char, 65536> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file)) {
        text.append(buffer.data(), count);
    }
    if (std::ferror(file) != 0) fail("read", path, errno);
    return text;
}

}  // namespace

std::string read_input(const std::string& path) {
    if (path == "-") return read_all(stdin, "standard input");
    const UniqueFile file = open_input(path);
    return read_all(file.get(), path);
}

void write_output(const std::string& path, const std::string& text) {
    UniqueFile file(std::fopen(path.c_str(), "we"));
    if (!file) fail("write", path, errno);
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) {
        fail("write", path, errno);
    }
    if (std::fclose(file.release()) != 0) fail("write", path, errno);
}

}  // namespace ruvo::ctl
