#include "settings/settings_text.h"

#include "core/text_cut.h"
#include "settings/split_key.h"

namespace ruvo {

std::optional<EventDefinition> parse_settings_line(std::string_view line) {
    const auto separator = line.find('=');
    if (separator == std::string_view::npos) return {};
    return split_key(line.substr(0, separator), without_line_feed(line.substr(separator + 1)));
}

std::array<std::string, 10> default_settings_lines(bool enabled) {
    return {
        enabled ? "EnableEvents=true\n" : "EnableEvents=false\n",
        "FastCableDetectEvents=false\n",
        "PowerOnCount=0\n",
        "PowerOnDelay=1\n",
        "DVIConnectedCount=0\n",
        "DVIConnectedDelay=0\n",
        "DVIDisconnectedCount=0\n",
        "DVIDisconnectedDelay=0\n",
        "GenericEventsCount=0\n",
        "DataEncode=HEX\n",
    };
}

}  // namespace ruvo
