#include "net/command_request.h"

#include "core/text_cut.h"

namespace ruvo {
namespace {

std::string with_line_feed(std::string text) {
    if (!text.ends_with('\n')) text += '\n';
    return text;
}

}  // namespace

std::string_view request_text(std::string_view received) {
    return cut_to_buffer(received, kRequestBytes);
}

CommandRequest split_request(std::string_view text) {
    const auto separator = text.find('=');
    if (separator == std::string_view::npos) return {std::string(text), std::string(text)};
    return {std::string(text.substr(0, separator)), std::string(text.substr(separator + 1))};
}

bool is_command(const CommandRequest& request) { return request.key.starts_with("__"); }

std::string trigger_text(const CommandRequest& request) { return with_line_feed(request.key); }

std::string queued_reply(const std::string& trigger, std::int32_t queue_result) {
    if (queue_result >= 0) return with_line_feed(trigger);
    return with_line_feed(trigger + "; Error: Too many commands, skip it\n");
}

std::string disabled_reply(const CommandRequest& request) {
    return "Event Disabled, skip " + request.key;
}

}  // namespace ruvo
