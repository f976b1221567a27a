// Fails chosen socket calls and thread starts of the daemon, as the control file says.

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "call_orders.h"
#include "next_call.h"

namespace {

CallOrders* map_orders() {
    const char* const path = std::getenv("RUVO_CALL_ORDERS");
    if (path == nullptr || std::strcmp(program_invocation_short_name, "ruvotcpd") != 0)
        return nullptr;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) return nullptr;
    void* const memory = mmap(nullptr, sizeof(CallOrders) * kOrderedCalls, PROT_READ | PROT_WRITE,
                              MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<CallOrders*>(memory);
}

CallOrders* orders = nullptr;

__attribute__((constructor)) void prepare() { orders = map_orders(); }

// Sets errno and returns true when this call is to fail.
bool fails(OrderedCall call) {
    int error = 0;
    if (!must_fail(call, error)) return false;
    errno = error;
    return true;
}

}  // namespace

CallOrders* call_orders() { return orders; }

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    static constinit NextCall<int(int, int, int)> next("socket");
    return fails(kSocket) ? -1 : next.get()(domain, type, protocol);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t length) noexcept {
    static constinit NextCall<int(int, int, int, const void*, socklen_t)> next("setsockopt");
    return fails(kSetsockopt) ? -1 : next.get()(fd, level, name, value, length);
}

int bind(int fd, const sockaddr* address, socklen_t length) noexcept {
    static constinit NextCall<int(int, const sockaddr*, socklen_t)> next("bind");
    return fails(kBind) ? -1 : next.get()(fd, address, length);
}

int listen(int fd, int backlog) noexcept {
    static constinit NextCall<int(int, int)> next("listen");
    return fails(kListen) ? -1 : next.get()(fd, backlog);
}

int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
    static constinit NextCall<int(int, fd_set*, fd_set*, fd_set*, timeval*)> next("select");
    return fails(kSelect) ? -1 : next.get()(count, read, write, except, timeout);
}

int accept(int fd, sockaddr* address, socklen_t* length) {
    static constinit NextCall<int(int, sockaddr*, socklen_t*)> next("accept");
    return fails(kAccept) ? -1 : next.get()(fd, address, length);
}

int accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
    static constinit NextCall<int(int, sockaddr*, socklen_t*, int)> next("accept4");
    return fails(kAccept) ? -1 : next.get()(fd, address, length, flags);
}

ssize_t recv(int fd, void* buffer, size_t size, int flags) {
    static constinit NextCall<ssize_t(int, void*, size_t, int)> next("recv");
    return fails(kRecv) ? -1 : next.get()(fd, buffer, size, flags);
}

// The error number 0 stands for a short send: half of the bytes go out.
ssize_t send(int fd, const void* data, size_t size, int flags) {
    static constinit NextCall<ssize_t(int, const void*, size_t, int)> next("send");
    if (!fails(kSend)) return next.get()(fd, data, size, flags);
    return errno == 0 ? next.get()(fd, data, size / 2, flags) : -1;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static constinit NextCall<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> next(
        "pthread_create");
    int error = 0;
    return must_fail(kPthreadCreate, error) ? error
                                            : next.get()(thread, attributes, body, argument);
}

}  // extern "C"
