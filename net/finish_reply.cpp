#include "net/finish_reply.h"

#include <string_view>

namespace ruvo {

void finish_reply(std::span<char> reply, std::size_t received) {
    reply[received] = '\0';
    if (received < 2) return;
    const std::string_view end(&reply[received - 2], 2);
    if (end != "\r\n" && end != "\n\r") return;
    reply[received - 2] = '\n';
    reply[received - 1] = '\0';
}

}  // namespace ruvo
