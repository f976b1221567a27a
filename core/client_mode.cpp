#include "core/client_mode.h"

#include "core/log.h"
#include "core/text_cut.h"
#include "net/tcpclient.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

namespace ruvo {
namespace {

constexpr char kServiceIp[] = "127.0.0.1";
constexpr std::int32_t kServicePort = 50003;
constexpr std::size_t kReplyBytes = 5000;

// The service ends its lines with a carriage return.
std::string with_line_feeds(std::string_view reply) {
    std::string text(reply);
    std::replace(text.begin(), text.end(), '\r', '\n');
    return text;
}

void print_entries(const std::map<std::string, std::string>& entries) {
    for (const auto& [key, value] : entries) print_line("%s=%s\n", key.c_str(), value.c_str());
}

}  // namespace

int ruvotcp_client(std::string_view command) try {
    if (command != "getStatus") return 0;
    std::array<char, kReplyBytes> reply{};
    if (tcpclient(kServiceIp, kServicePort, "getStatus\r", reply) < 0) return 0;
    print_entries(parse_status_reply(with_line_feeds(until_zero({reply.data(), reply.size()}))));
    return 0;
} catch (const std::bad_alloc&) {
    return 0;  // prints nothing, like a request that has no reply
}

std::map<std::string, std::string> parse_status_reply(std::string_view text) {
    std::map<std::string, std::string> entries;
    while (!text.empty()) {
        const auto colon = text.find(':');
        if (colon == std::string_view::npos) break;
        const auto begin = text.find_first_not_of(": ", colon);
        if (begin == std::string_view::npos) break;
        const auto end = std::min(text.find('\n', begin), text.size());
        entries.emplace(text.substr(0, colon), text.substr(begin, end - begin));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return entries;
}

}  // namespace ruvo
