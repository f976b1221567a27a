#include "execution/choose_sender.h"

namespace ruvo {

Sender choose_sender(std::string_view protocol) {
    const auto names = [protocol](std::string_view word) {
        return protocol.find(word) != std::string_view::npos;
    };
    const bool status = names("Status");
    if (names("TCP")) return status ? Sender::kTcpStatus : Sender::kTcp;
    if (names("UDP")) return status ? Sender::kUdpStatus : Sender::kUdp;
    return Sender::kNone;
}

}  // namespace ruvo
