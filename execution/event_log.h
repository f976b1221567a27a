#pragma once

#include "core/local_time.h"
#include "events/event_entry.h"

#include <cstdint>
#include <string>

namespace ruvo {

// A line's time stamp, "2024-10-17 03:18:38.250 ", with the blank.
std::string event_log_timestamp(const LocalTime& time);

// The three lines of the event log, without time stamp, with their line feed. Data
// shows up to its first zero byte.
std::string sent_line(const SubCommand& step);
std::string power_on_skip_line(const SubCommand& step, std::int64_t uptime_s);
std::string disabled_line(const SubCommand& step, std::int64_t uptime_s);

// Appends a line with the current local time to /var/log/ruvoevent.log, which is
// opened and closed for the line and never rotated. Silent when it can't be opened.
// Queue thread.
void write_event_log(const std::string& line);

}  // namespace ruvo
