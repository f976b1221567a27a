#include "execution/outgoing.h"

#include "core/text_cut.h"

namespace ruvo {

Outgoing outgoing(const SubCommand& step, WordSize word) {
    Outgoing result;
    result.sender = choose_sender(step.protocol);
    result.ip = cut_to_buffer(step.ip, kSlotIpBytes);
    result.port = int32_of(step.port, word);
    if (!sends_report(result.sender)) result.data = cut_to_buffer(step.data, kSentDataBytes);
    return result;
}

bool sends_report(Sender sender) {
    return sender == Sender::kUdpStatus || sender == Sender::kTcpStatus;
}

}  // namespace ruvo
