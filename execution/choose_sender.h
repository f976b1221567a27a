#pragma once

#include <string_view>

namespace ruvo {

enum class Sender { kNone, kUdp, kTcp, kUdpStatus, kTcpStatus };

// The sender for a protocol text, which is searched, case-sensitively, for "Status",
// "TCP" and "UDP"; "TCP" wins over "UDP", and without both nothing is sent.
Sender choose_sender(std::string_view protocol);

}  // namespace ruvo
