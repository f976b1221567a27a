#pragma once

#include "core/number_text.h"
#include "ruvoctl/status_report.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace ruvo::ctl {

// Where the switch stands: on, off when the event is triggered, or switched off after
// that and before the event runs.
enum class SwitchPosition { kOn, kOffWhenTriggered, kOffBeforeRun };

// What a plan takes for given: everything that decides a send and that no settings file
// says.
struct World {
    std::tm local_time{};  // when the event is triggered
    // As the daemon has last measured it when the event is triggered; it does so once a
    // second, which leaves it up to 1.3 s behind.
    std::int64_t uptime_s = 3600;
    std::optional<StatusReport> status;
    SwitchPosition switch_position = SwitchPosition::kOn;
    bool test = false;  // by the rules of a test run
    WordSize word = kOwnWord;
};

}  // namespace ruvo::ctl
