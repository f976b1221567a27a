#include "ruvoctl/input_text.h"

#include "core/file.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ruvo::ctl {
namespace {

[[noreturn]] void fail(const char* what, const std::string& path, int error) {
    throw FileError(fmt::format("cannot {} {}: {}", what, text_of(path), std::strerror(error)));
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
    const UniqueFile file = open_for_reading(path.c_str());
    if (!file) fail("read", path, errno);
    return read_all(file.get(), path);
}

void write_output(const std::string& path, const std::string& text) {
    UniqueFile file = open_truncated(path.c_str());
    if (!file) fail("write", path, errno);
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) {
        fail("write", path, errno);
    }
    if (std::fclose(file.release()) != 0) fail("write", path, errno);
}

}  // namespace ruvo::ctl
