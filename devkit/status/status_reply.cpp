#include "devkit/status/status_reply.h"

#include <fstream>
#include <iterator>

namespace ruvo::devkit {
namespace {

constexpr std::string_view kGetStatus = "getStatus";
constexpr std::string_view kBlanks = " \t";

// Takes the next line off the text; a line end of either kind is not part of it.
std::string_view take_line(std::string_view& text) {
    const auto end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

}  // namespace

Request classify_request(std::string_view received) {
    if (received.size() < kGetStatus.size()) {
        return kGetStatus.starts_with(received) ? Request::kIncomplete : Request::kOther;
    }
    if (!received.starts_with(kGetStatus)) return Request::kOther;
    const std::string_view rest = received.substr(kGetStatus.size());
    return rest.empty() || rest == "\r" ? Request::kGetStatus : Request::kOther;
}

std::string status_reply(std::string_view items_text) {
    std::string reply;
    while (!items_text.empty()) {
        const std::string_view line = take_line(items_text);
        if (line.find_first_not_of(kBlanks) == std::string_view::npos) continue;
        reply.append(line);
        reply.push_back('\r');
    }
    return reply;
}

std::optional<std::string> read_items_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace ruvo::devkit
