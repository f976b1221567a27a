#pragma once

#include "events/expand_data.h"
#include "execution/choose_sender.h"
#include "ruvoctl/plan/world.h"
#include "ruvoctl/socket_destination.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ruvo::ctl {

// Counted from the moment the trigger is taken for lookup.
struct Window {
    std::chrono::nanoseconds earliest{};
    std::chrono::nanoseconds latest{};
};

// How long a peer may keep a TCP exchange in each of its calls: connect, send and receive.
inline constexpr std::chrono::seconds kCallAtMost{2};

enum class StepOutcome {
    kSends,
    kSkipped,  // deliberately
    kLost,     // by a fault of the settings
};

enum class StepReason {
    kNone,
    kPowerOnWindow,
    kSwitchedOff,
    kNoProtocol,          // its protocol starts no sender
    kRefusedDestination,  // the system refuses such a destination always
};

struct PlannedMacro {
    std::string name;
    MacroValue value;
    // Whether the plan knows what the status service reports; if not, a name that is no
    // built-in may be an item of it.
    bool report_given = true;
};

struct PlannedStep {
    std::size_t index = 0;
    StepOutcome outcome = StepOutcome::kSends;
    StepReason reason = StepReason::kNone;
    Sender sender = Sender::kNone;
    std::string protocol;  // as configured, like the next two
    std::string configured_ip;
    std::string configured_port;
    SocketDestination destination;
    std::chrono::nanoseconds delay{};  // from the start of the execution
    std::chrono::nanoseconds due{};    // the same as it is kept
    Window window;
    // The bytes that leave, or would if the step were sent; nothing when the step sends a
    // status report that is not known.
    std::optional<std::string> data;
    std::string expanded;       // after macros and escapes, before the cuts
    std::size_t cut_bytes = 0;  // how many of them don't leave
    // How many zero bytes at the end stand for nothing but blanks and a carriage return
    // behind the digits of the settings line.
    std::size_t line_end_zeros = 0;
    std::vector<PlannedMacro> macros;
    std::string log_line;  // in the event log, with its line feed
};

enum class EventOutcome {
    kRuns,
    kStale,        // due when it is too old to run
    kRefused,      // triggered while the switch is off
    kUnreachable,  // a client's trigger can't find it
};

// An earlier event that answers in place of another.
struct EarlierEvent {
    std::string name;
    std::size_t line = 0;  // of the Count that made it
};

struct PlannedEvent {
    std::string name;
    std::string trigger;
    std::size_t line = 0;  // of the Count that made it
    std::int32_t delay_s = 0;
    std::size_t step_count = 0;
    EventOutcome outcome = EventOutcome::kRuns;
    // Of an event that can't be reached: the one that is found in its place; nothing when
    // no client can send what finds it.
    std::optional<EarlierEvent> found_instead;
    // False when the event is skipped in the power-on window, and the window ends so close to
    // its run that the uptime in the daemon's mind decides.
    bool power_on_window_certain = true;
    // Of an event that runs: when its execution starts, and each of its steps.
    std::optional<Window> start;
    std::vector<PlannedStep> steps;
};

// What the command port makes of a client's bytes.
struct PlannedTrigger {
    std::string request;               // what of them is read
    std::optional<std::string> text;   // what is looked up; nothing for a command
    std::optional<std::string> reply;  // nothing for a command and for an empty request
    std::ptrdiff_t lookups = 0;
    bool command = false;
};

// The first line that voids the whole file.
struct VoidingLine {
    std::size_t line = 0;
    std::size_t column = 0;
    std::string cause;
};

struct Plan {
    World world;
    std::optional<VoidingLine> voided;
    std::optional<PlannedTrigger> trigger;
    std::vector<PlannedEvent> events;
};

struct PlanSummary {
    std::size_t events = 0;
    std::size_t steps = 0;
    std::size_t sends = 0;
    std::size_t skipped = 0;
    std::size_t lost = 0;

    bool operator==(const PlanSummary&) const = default;
};

// Counts every step; those of an event that does not run are skipped when the switch is
// the reason, else lost.
PlanSummary summarize(const Plan& plan);

// How much later than its window a step's bytes may leave: a TCP exchange connects first,
// and a status variant fetches the report before that. Zero for a plain datagram and for
// what is not sent.
std::chrono::seconds tail_of(const PlannedStep& step);

}  // namespace ruvo::ctl
