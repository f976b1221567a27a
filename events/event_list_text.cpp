#include "events/event_list_text.h"

namespace ruvo {

std::string event_list_line(const EventEntry& entry) {
    std::string line = entry.name + ";" + entry.xmlField + ";";
    for (std::size_t i = 0; i < entry.subCommands.size(); ++i) {
        const SubCommand& step = entry.subCommands[i];
        line += std::to_string(i) + ":" + step.data + ":" + std::to_string(step.delayNs / 1000000) +
                ";";
    }
    return line + "Delay=" + std::to_string(entry.delay) + ";\n";
}

}  // namespace ruvo
