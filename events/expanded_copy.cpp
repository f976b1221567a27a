#include "events/expanded_copy.h"

namespace ruvo {

EventEntry expanded_copy(const EventEntry& entry, const MacroValues& values, std::int32_t test) {
    EventEntry copy = entry;
    for (SubCommand& step : copy.subCommands) step.data = expand_data(step.data, values);
    if (test) copy.delay = 0;
    return copy;
}

}  // namespace ruvo
