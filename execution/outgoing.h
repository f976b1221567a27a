#pragma once

#include "core/number_text.h"
#include "events/event_entry.h"
#include "execution/choose_sender.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

inline constexpr std::size_t kSlotIpBytes = 64;
inline constexpr std::size_t kSlotDataBytes = 1024;
// Only so much of a step's data reaches its sender, though a slot holds more.
inline constexpr std::size_t kSentDataBytes = 104;
static_assert(kSentDataBytes <= kSlotDataBytes);

// What a step hands to its sender; the texts are views into the step.
struct Outgoing {
    Sender sender = Sender::kNone;
    std::string_view ip;    // up to its first zero byte, at most 63 characters
    std::int32_t port = 0;  // the socket takes its low 16 bits
    std::string_view data;  // up to its first zero byte, at most 103 characters;
                            // none for a sender of the status report
};

Outgoing outgoing(const SubCommand& step, WordSize word = kOwnWord);

bool sends_report(Sender sender);

}  // namespace ruvo
