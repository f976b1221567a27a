#include "ruvoctl/status_report.h"

#include "core/file.h"
#include "core/text_cut.h"
#include "net/finish_reply.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <string>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kBlanks = " \t";

// The service ends every item with a carriage return and drops empty lines.
std::string service_reply(std::string_view text) {
    std::string reply;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(kLineEnds), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.find_first_not_of(kBlanks) == std::string_view::npos) continue;
        reply += line;
        reply += '\r';
    }
    return reply;
}

// The items as the daemon's own reader finds them behind the shell, which turns every
// carriage return into a line feed.
StatusVariables items_of(std::string reply) {
    if (reply.empty()) return {};
    std::replace(reply.begin(), reply.end(), '\r', '\n');
    const UniqueFile file(::fmemopen(reply.data(), reply.size(), "r"));
    if (!file) throw std::bad_alloc();
    return read_status_report(file.get());
}

}  // namespace

StatusReport status_report(std::string_view items_text) {
    StatusReport report;
    report.reply = service_reply(items_text);
    report.items = items_of(report.reply);
    return report;
}

bool is_taken_over(const StatusReport& report) { return report.items.size() > kTooFewStatusItems; }

std::string sent_report(const StatusReport& report) {
    std::array<char, kReplyBytes> buffer{};
    const std::string_view received = std::string_view(report.reply).substr(0, buffer.size() - 1);
    std::copy(received.begin(), received.end(), buffer.begin());
    finish_reply(buffer, received.size());
    return std::string(until_zero(std::string_view(buffer.data(), buffer.size())));
}

}  // namespace ruvo::ctl
