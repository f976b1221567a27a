#include "execution/stamp_record.h"

#include "core/time_units.h"

#include <algorithm>

namespace ruvo {

std::ptrdiff_t count_lines(std::string_view trigger) {
    const bool open_end = !trigger.empty() && !trigger.ends_with('\n');
    return std::count(trigger.begin(), trigger.end(), '\n') + (open_end ? 1 : 0);
}

void stamp_record(EventEntry& record, std::int64_t now_ns, std::int32_t test) {
    record.t_ns_cread = now_ns;
    record.t_ns_exec = now_ns + (test == 1 ? 0 : record.delay * kNsPerSecond);
    record.test = test;
}

}  // namespace ruvo
