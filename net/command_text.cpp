#include "net/command_text.h"

#include <strings.h>

namespace ruvo {
namespace {

constexpr char kSwitchKey[] = "network.ruvo.enable";

}  // namespace

std::optional<CommandKey> split_command(std::string_view key) {
    const auto separator = key.find(':');
    if (separator == std::string_view::npos || separator == 0) return {};
    return CommandKey{std::string(key.substr(0, separator)),
                      std::string(key.substr(separator + 1))};
}

std::string_view named_key(std::string_view argument) {
    return argument.substr(0, argument.find('='));
}

SwitchRequest switch_request(std::string_view key, std::string_view value) {
    if (::strcasecmp(std::string(key).c_str(), kSwitchKey) != 0) return SwitchRequest::kOtherKey;
    if (value == "1") return SwitchRequest::kOn;
    if (value == "0") return SwitchRequest::kOff;
    return SwitchRequest::kBadValue;
}

std::string test_reply(std::string_view event) { return "call event " + std::string(event); }

std::string get_reply(std::string_view key, std::string_view value) {
    return std::string(key) + "=" + std::string(value) + "\n";
}

std::string fail_reply(std::string_view command) {
    return "Error: fail command:" + std::string(command) + "\n";
}

}  // namespace ruvo
