#include "events/status_reply.h"

#include "core/text_cut.h"

namespace ruvo {

std::optional<std::pair<std::string, std::string>> parse_status_line(std::string_view line) {
    const std::string_view text = without_line_feed(line);
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return {};
    return std::pair(std::string(text.substr(0, colon)), std::string(text.substr(colon + 1)));
}

}  // namespace ruvo
