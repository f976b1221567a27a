#pragma once

#include "ruvoctl/plan/plan.h"

#include <chrono>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// The words of the JSON documents.
std::string_view outcome_word(EventOutcome outcome);
std::string_view outcome_word(StepOutcome outcome);
std::string_view reason_word(StepReason reason);
std::string_view sender_word(Sender sender);
std::string_view source_word(const PlannedMacro& macro);
std::string_view switch_word(SwitchPosition position);

// "2026-11-21 03:18:38".
std::string time_text(const std::tm& local_time);

double in_ms(std::chrono::nanoseconds time);

// "1250" or "1250.1", without unit.
std::string ms_text(std::chrono::nanoseconds time);

// "1000 to 1250 ms".
std::string window_text(const Window& window);

// "UDP", "TCP", "status report by UDP", "status report by TCP" or "no sender".
std::string_view sender_text(Sender sender);

// Why a step is not sent, in plain words; empty for one that is.
std::string reason_text(const PlannedStep& step);

// What finds an event: a client's text by its trigger, a test command by its name.
enum class LookedUpBy { kTrigger, kName };
LookedUpBy looked_up_by(const World& world);

// Why an event does not run; empty for one that does.
std::string outcome_text(const PlannedEvent& event, LookedUpBy by);

}  // namespace ruvo::ctl
