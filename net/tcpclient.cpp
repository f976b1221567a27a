#include "net/tcpclient.h"

#include "core/log.h"
#include "core/unique_fd.h"
#include "net/finish_reply.h"
#include "net/ipv4_address.h"
#include "net/socket_timeouts.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstdio>

namespace ruvo {
namespace {

void write_error(std::span<char> reply, int error) {
    std::snprintf(reply.data(), reply.size(), "(%d)%s", error, error_text(error));
}

void log_connect_failure(const char* ip, std::int32_t port, int error, std::string_view data) {
    static LogSite not_connected;
    log_line(not_connected, "[ruvotcp] Error: connect %s:%d ;(%d)%s;%.*s;\n", ip, port, error,
             error_text(error), static_cast<int>(data.size()), data.data());
}

// "len=" shows what send returned, the real length follows on the next line.
void log_send_failure(int sent, const char* ip, std::int32_t port, int error,
                      std::string_view data) {
    static LogSite not_sent;
    const auto length = static_cast<int>(data.size());
    log_line(not_sent, "[ruvotcp] Error: send(len=%d) %s:%d :(%d)%s\n(%d)%.*s;\n", sent, ip, port,
             error, error_text(error), length, length, data.data());
}

void receive_reply(int sock, std::span<char> reply) {
    const ssize_t received = ::recv(sock, reply.data(), reply.size() - 1, 0);
    if (received < 0) {
        write_error(reply, errno);
    } else {
        finish_reply(reply, static_cast<std::size_t>(received));
    }
}

std::int32_t exchange(int sock, const char* ip, std::int32_t port, std::string_view data,
                      std::span<char> reply) {
    set_socket_timeouts(sock);
    const sockaddr_in address = ipv4_address(ip, static_cast<std::uint16_t>(port));
    if (::connect(sock, generic(address), sizeof address) != 0) {
        const int error = errno;
        write_error(reply, error);
        log_connect_failure(ip, port, error, data);
        return kNotConnected;
    }
    const auto length = static_cast<int>(data.size());
    debug_line("[%s:%d] send[%d] %.*s\n", "tcpclient", 108, length, length, data.data());
    const ssize_t sent = ::send(sock, data.data(), data.size(), 0);
    if (sent < 0) {
        const int error = errno;
        write_error(reply, error);
        log_send_failure(static_cast<int>(sent), ip, port, error, data);
        return kNotSent;
    }
    receive_reply(sock, reply);
    return static_cast<std::int32_t>(sent);
}

}  // namespace

std::int32_t tcpclient(const char* ip, std::int32_t port, std::string_view data,
                       std::span<char> reply) {
    UniqueFd sock(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!sock) {
        write_error(reply, errno);
        return kNoSocket;
    }
    const std::int32_t result = exchange(sock.get(), ip, port, data, reply);
    // A socket that lands on descriptor 0 stays open.
    if (sock.get() == 0) (void)sock.release();
    return result;
}

}  // namespace ruvo
