#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ruvo {

// The receive buffer: at most kRequestBytes - 1 bytes of a request are taken.
inline constexpr std::size_t kRequestBytes = 1024;

// The text of a request that arrives with these bytes: what fits the buffer, up to its
// first zero byte.
std::string_view request_text(std::string_view received);

// A request of the command port, split at its first "="; without one, key and value
// are both the whole text.
struct CommandRequest {
    std::string key;
    std::string value;
};

CommandRequest split_request(std::string_view text);

// Keys with two leading underscores are commands, all others are triggers.
bool is_command(const CommandRequest& request);

// The text that a trigger is queued and echoed with: the key, ended by a line feed.
std::string trigger_text(const CommandRequest& request);

// The reply to a trigger: its text, with a note when the queue (a negative result)
// has refused it.
std::string queued_reply(const std::string& trigger, std::int32_t queue_result);

// The reply to a trigger while events are disabled.
std::string disabled_reply(const CommandRequest& request);

}  // namespace ruvo
