// Asks a service for the device's status, which answers with any bytes.

#include "core/client_mode.h"
#include "fuzz/stand_in_system.h"
#include "net/tcpclient.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace ruvo::fuzz {
namespace {

using Entries = std::map<std::string, std::string>;

constexpr std::size_t kMostBytes = 4999;

// An input is a letter and the service's reply.
struct Case {
    char letter;
    Step refused;
    int error;
    bool is_gone;
};
constexpr std::array<Case, 6> kCases = {{
    {'a', Step::kNone, 0, false},
    {'s', Step::kSocket, EMFILE, false},
    {'o', Step::kOption, ENOBUFS, false},
    {'c', Step::kConnect, ECONNREFUSED, false},
    {'r', Step::kReceive, EAGAIN, false},
    {'g', Step::kNone, 0, true},
}};

const Case& case_of(char letter) {
    for (const Case& c : kCases) {
        if (c.letter == letter) return c;
    }
    return kCases.front();
}

// The reply as text: at most what the buffer holds, to its first zero byte, its line end
// made one line feed and every other carriage return too.
std::string text_of(std::string_view reply) {
    std::string text(reply.substr(0, kMostBytes));
    if (text.ends_with("\r\n") || text.ends_with("\n\r")) {
        text.resize(text.size() - 2);
        text += '\n';
    }
    text.resize(std::min(text.find('\0'), text.size()));
    for (char& c : text) c = c == '\r' ? '\n' : c;
    return text;
}

std::string lines_of(const Entries& entries) {
    std::string lines;
    for (const auto& [key, value] : entries)
        lines.append(key).append("=").append(value).append("\n");
    return lines;
}

void require_entries(std::string_view text, const Entries& entries) {
    require(entries.size() <= static_cast<std::size_t>(std::count(text.begin(), text.end(), ':')),
            "an entry has a colon of its own");
    std::string again;
    for (const auto& [key, value] : entries) {
        require(key.find(':') == std::string::npos, "the first colon ends the key");
        require(value.find('\n') == std::string::npos, "a value is within a line");
        require(!value.starts_with(':') && !value.starts_with(' '),
                "colons and blanks before a value are dropped");
        require(text.find(key + ":") != std::string_view::npos, "a key is in the reply");
        again.append(key).append(":").append(value).append("\n");
    }
    require(parse_status_reply(again) == entries, "the entries read back");
}

std::string printed(const Case& c, std::string_view reply) {
    serve_client(reply, c.is_gone);
    refuse_once(c.refused, c.error);
    return output_of([] { require(ruvotcp_client("getStatus") == 0, "the status is 0"); });
}

void try_input(char letter, std::string_view reply) {
    const int descriptor = lowest_free_descriptor();
    require_entries(reply, parse_status_reply(reply));
    if (letter == 'x') {
        require(output_of([&] { (void)ruvotcp_client(reply.substr(0, 8)); }).empty() ||
                    reply.starts_with("getStatu"),
                "no other command is known");
        return;
    }
    const Case& c = case_of(letter);
    const std::string output = printed(c, reply);
    const std::string request = take_client_request();
    if (c.refused == Step::kNone || c.refused == Step::kOption) {
        const std::string text = text_of(reply);
        require(request == (c.is_gone ? "" : "getStatus\r"), "the request");
        if (!c.is_gone) {
            require_entries(text, parse_status_reply(text));
            require(output == lines_of(parse_status_reply(text)), "the entries are printed");
            require(printed(c, reply) == output, "a second reply gives the same");
            (void)take_client_request();
        }
    } else if (c.refused == Step::kReceive) {
        // "(11)Resource temporarily unavailable" has no colon.
        require(output.empty(), "an error is no entry");
    }
    require(lowest_free_descriptor() == descriptor, "no descriptor is lost");
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ruvo::fuzz::drop_standard_output();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    ruvo::fuzz::try_input(static_cast<char>(data[0]),
                          {reinterpret_cast<const char*>(data + 1), size - 1});
    return 0;
}
