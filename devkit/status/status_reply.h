#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ruvo::devkit {

enum class Request { kIncomplete, kGetStatus, kOther };

// What the bytes received so far are: the answer is due as soon as `getStatus`
// is there; the carriage return behind it may come, come later, or never.
Request classify_request(std::string_view received);

// The items' text as it goes over the wire: blank lines dropped, each other line
// ended by a carriage return.
std::string status_reply(std::string_view items_text);

// The file's whole text; nothing when it cannot be read.
std::optional<std::string> read_items_file(const std::string& path);

}  // namespace ruvo::devkit
