#include "execution/decide.h"

#include <strings.h>

#include <algorithm>

namespace ruvo {
namespace {

bool is_display_event(const std::string& name) {
    return ::strcasecmp(name.c_str(), "DVIConnected") == 0 ||
           ::strcasecmp(name.c_str(), "DVIDisconnected") == 0;
}

}  // namespace

std::int64_t due_ns(const EventEntry& record) {
    return std::max(record.t_ns_exec, record.t_ns_cread);
}

RecordAction decide_record(const EventEntry& record, std::int64_t now_ns) {
    if (record.t_ns_exec == 0 || record.t_ns_cread == 0) return RecordAction::kDropInvalid;
    if (record.t_ns_cread + kStaleAfterNs < now_ns) return RecordAction::kDropStale;
    if (record.has_run == kRecordRun) return RecordAction::kDropHadRun;
    return due_ns(record) <= now_ns ? RecordAction::kRun : RecordAction::kKeep;
}

StepAction decide_step(const EventEntry& record, Switches switches) {
    const bool in_window = !switches.power_on_window_over && record.test == 0;
    if (in_window && is_display_event(record.name)) return StepAction::kPowerOnSkip;
    return switches.enabled || record.test == 1 ? StepAction::kSend : StepAction::kDisabledSkip;
}

}  // namespace ruvo
