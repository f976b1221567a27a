#include "ruvoctl/output/hex_dump.h"

#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

namespace ruvo::ctl {
namespace {

constexpr std::size_t kBytesALine = 16;

std::string grouped_hex(std::string_view bytes) {
    std::string hex;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) hex += i == kBytesALine / 2 ? "  " : " ";
        hex += hex_of(bytes.substr(i, 1));
    }
    return hex;
}

}  // namespace

std::string hex_dump(std::string_view bytes, std::string_view margin) {
    constexpr std::size_t kFullWidth = kBytesALine * 3;
    const bool several = bytes.size() > kBytesALine;
    std::string dump;
    for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesALine) {
        const std::string_view line = bytes.substr(offset, kBytesALine);
        const std::string hex = grouped_hex(line);
        dump += margin;
        if (several) dump += fmt::format("{:04x}  ", offset);
        dump +=
            fmt::format("{:<{}}  {}\n", hex, several ? kFullWidth : hex.size(), printable(line));
    }
    return dump;
}

}  // namespace ruvo::ctl
