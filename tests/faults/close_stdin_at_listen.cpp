// Frees descriptor 0 once the command port listens, so that the next socket the
// daemon opens gets it.

#include <sys/socket.h>
#include <unistd.h>

#include "next_call.h"

extern "C" int listen(int fd, int backlog) noexcept {
    static constinit NextCall<int(int, int)> next("listen");
    const int result = next.get()(fd, backlog);
    close(0);
    return result;
}
