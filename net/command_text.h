#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ruvo {

// A command's key, split at its first ":".
struct CommandKey {
    std::string word;
    std::string argument;
};

// Nothing when the key has no ":" or begins with it. The key comes without a line end.
std::optional<CommandKey> split_command(std::string_view key);

// What a switch command asks for.
enum class SwitchRequest { kOn, kOff, kOtherKey, kBadValue };

// The key that a command's argument names: the text up to its first "=".
std::string_view named_key(std::string_view argument);

// The key is compared without regard to case; the value, which comes without its line
// feed, counts exactly as it is.
SwitchRequest switch_request(std::string_view key, std::string_view value);

// The replies.
std::string test_reply(std::string_view event);
std::string get_reply(std::string_view key, std::string_view value);
// The answer to whatever has no reply of its own.
std::string fail_reply(std::string_view command);

}  // namespace ruvo
