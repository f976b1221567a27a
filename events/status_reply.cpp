#include "events/status_reply.h"

#include "core/line_reader.h"
#include "core/text_cut.h"

#include <utility>

namespace ruvo {

std::optional<std::pair<std::string, std::string>> parse_status_line(std::string_view line) {
    const std::string_view text = without_line_feed(line);
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return {};
    return std::pair(std::string(text.substr(0, colon)), std::string(text.substr(colon + 1)));
}

StatusVariables read_status_report(std::FILE* report) {
    StatusVariables variables;
    LineReader<kLineBufferBytes> lines(report);
    while (const auto line = lines.next()) {
        if (auto item = parse_status_line(*line)) variables.push_back(*std::move(item));
    }
    return variables;
}

}  // namespace ruvo
