#include "net/connections.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace ruvo {
namespace {

bool is_silent(const UniqueFd& connection) {
    char byte = 0;
    return ::recv(connection.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 &&
           (errno == EAGAIN || errno == EWOULDBLOCK);
}

}  // namespace

void Connections::add(UniqueFd connection) { oldest_first_.push_back(std::move(connection)); }

void Connections::close(int descriptor) {
    std::erase_if(oldest_first_,
                  [descriptor](const UniqueFd& open) { return open.get() == descriptor; });
}

int Connections::close_longest_silent() {
    const auto silent = std::find_if(oldest_first_.begin(), oldest_first_.end(), is_silent);
    if (silent == oldest_first_.end()) return -1;
    const int descriptor = silent->get();
    oldest_first_.erase(silent);
    return descriptor;
}

int Connections::watch(fd_set& set) const {
    int highest = -1;
    for (const UniqueFd& connection : oldest_first_) {
        FD_SET(connection.get(), &set);
        highest = std::max(highest, connection.get());
    }
    return highest;
}

}  // namespace ruvo
