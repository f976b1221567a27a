#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace ruvo {

// One destination step of an event.
struct SubCommand {
    std::string ip;        // as configured, not checked
    std::string port;      // as configured, not converted
    std::string protocol;  // as configured
    std::string data;      // bytes; may hold zeros
    std::int64_t delayNs = 0;
    // The step's own delay plus that of the steps before it.
    std::int64_t delayFromExecNs = 0;

    bool operator==(const SubCommand&) const = default;
};

// States of a queued record.
inline constexpr std::int32_t kRecordNotRun = 0;
inline constexpr std::int32_t kRecordRun = 1;
inline constexpr std::int32_t kRecordSkipped = 2;

// One event. The list holds it with the runtime fields 0; a queued copy carries
// its times, its state and whether a test command has queued it.
struct EventEntry {
    std::string name;
    std::string xmlField;         // the name under which a trigger finds the event
    std::int64_t t_ns_cread = 0;  // queued at, nanoseconds since t_ns_start
    std::int64_t t_ns_exec = 0;   // due at, nanoseconds since t_ns_start
    std::vector<SubCommand> subCommands;
    std::int32_t has_run = kRecordNotRun;
    std::int32_t delay = 0;  // seconds between trigger and execution
    std::int32_t test = 0;   // 1 when a test command has queued it

    bool operator==(const EventEntry&) const = default;
};

using EventList = std::deque<EventEntry>;

}  // namespace ruvo
