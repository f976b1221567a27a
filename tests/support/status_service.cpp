#include "tests/support/status_service.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <utility>

namespace ruvo::test {
namespace {

constexpr std::uint16_t kStatusPort = 50001;

}  // namespace

StatusService::StatusService(std::string reply)
    : listener_(kStatusPort),
      reply_(std::move(reply)),
      stop_(::eventfd(0, EFD_CLOEXEC)),
      thread_([this] { serve(); }) {}

StatusService::~StatusService() {
    (void)::eventfd_write(stop_.get(), 1);
    thread_.join();
}

std::vector<std::string> StatusService::requests() {
    const Guard guard(guard_);
    return requests_;
}

void StatusService::serve() {
    std::array<pollfd, 2> waiting{pollfd{listener_.descriptor(), POLLIN, 0},
                                  pollfd{stop_.get(), POLLIN, 0}};
    while (::poll(waiting.data(), waiting.size(), -1) > 0 && waiting[1].revents == 0) {
        const UniqueFd connection = listener_.accept();
        if (connection) answer(connection.get());
    }
}

void StatusService::answer(int connection) {
    std::array<char, 256> buffer{};
    const ssize_t received = ::recv(connection, buffer.data(), buffer.size(), 0);
    if (received <= 0) return;
    {
        const Guard guard(guard_);
        requests_.emplace_back(buffer.data(), static_cast<std::size_t>(received));
    }
    (void)::send(connection, reply_.data(), reply_.size(), MSG_NOSIGNAL);
    (void)::shutdown(connection, SHUT_WR);
    (void)read_to_end(connection);  // closing with unread data would cut the reply off
}

}  // namespace ruvo::test
