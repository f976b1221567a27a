#include "events/find_event.h"

#include <algorithm>

namespace ruvo {

const EventEntry* find_event(const EventList& list, std::string_view name, std::int32_t test) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const EventEntry& entry) {
        return (test ? entry.name : entry.xmlField) == name;
    });
    return found == list.end() ? nullptr : &*found;
}

}  // namespace ruvo
