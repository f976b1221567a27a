// Fails chosen calls of the daemon, as the control file says, and counts them.

#include <fcntl.h>
#include <ifaddrs.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "call_orders.h"
#include "next_call.h"

namespace {

using OpenFile = int(const char*, int, ...);
constinit NextCall<OpenFile> next_open("open64");
constinit NextCall<ssize_t(int, const void*, size_t)> next_write("write");

CallOrders* map_orders() {
    const char* const path = std::getenv("RUVO_CALL_ORDERS");
    if (path == nullptr || std::strcmp(program_invocation_short_name, "ruvotcpd") != 0)
        return nullptr;
    const int file = next_open.get()(path, O_RDWR | O_CLOEXEC);
    if (file < 0) return nullptr;
    void* const memory = mmap(nullptr, sizeof(CallOrders) * kOrderedCalls, PROT_READ | PROT_WRITE,
                              MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<CallOrders*>(memory);
}

CallOrders* orders = nullptr;

// Sets errno and returns true when this call is to fail.
bool fails(OrderedCall call, const char* text = "") {
    int error = 0;
    if (!must_fail(call, error, text)) return false;
    errno = error;
    return true;
}

// The C library's streams write by a call of its own that no library can take the place
// of, so a stream for writing is one whose writing is done here.

// The error number 0 stands for a short write: half of the bytes go out.
ssize_t write_or_fail(int file, const void* data, size_t size) {
    if (!fails(kWrite)) return next_write.get()(file, data, size);
    return errno == 0 ? next_write.get()(file, data, size / 2) : -1;
}

int descriptor_of(void* cookie) { return static_cast<int>(reinterpret_cast<intptr_t>(cookie)); }

// As the C library does: goes on after a short write, gives up after an error.
ssize_t write_stream(void* cookie, const char* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t written = write_or_fail(descriptor_of(cookie), data + done, size - done);
        if (written < 0) break;
        done += static_cast<size_t>(written);
    }
    return static_cast<ssize_t>(done);
}

int close_stream(void* cookie) { return close(descriptor_of(cookie)); }

FILE* stream_for_writing(int file) {
    const cookie_io_functions_t functions = {
        .read = nullptr, .write = write_stream, .seek = nullptr, .close = close_stream};
    return fopencookie(reinterpret_cast<void*>(static_cast<intptr_t>(file)), "w", functions);
}

FILE* open_for_writing(const char* path, const char* mode) {
    const int flags = O_WRONLY | O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC) |
                      (std::strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0);
    const int file = next_open.get()(path, flags, 0666);
    if (file < 0) return nullptr;
    FILE* const stream = stream_for_writing(file);
    if (stream == nullptr) close(file);
    return stream;
}

// How much shorter the sleeps between passes and tries are: a test that makes thousands
// of passes would else mostly wait.
long nap_divisor = 1;

timespec shortened(const timespec& time) {
    constexpr long kSecond = 1000000000;
    constexpr long kShortestNap = kSecond / 10;
    const long nap = time.tv_sec < 10 ? time.tv_sec * kSecond + time.tv_nsec : 0;
    if (nap < kShortestNap) return time;
    return {.tv_sec = nap / nap_divisor / kSecond, .tv_nsec = nap / nap_divisor % kSecond};
}

void count_pass(const timespec& time) {
    int error = 0;
    if (time.tv_sec == 0 && time.tv_nsec == 250000000) (void)must_fail(kQueuePass, error);
    if (time.tv_sec == 0 && time.tv_nsec == 200000000) (void)must_fail(kSupervisionPass, error);
}

__attribute__((constructor)) void prepare() {
    orders = map_orders();
    if (orders == nullptr) return;
    if (FILE* const stream = stream_for_writing(STDOUT_FILENO)) stdout = stream;
    if (const char* const divisor = std::getenv("RUVO_SHORTER_NAPS"))
        nap_divisor = std::strtol(divisor, nullptr, 10);
}

OrderedCall opening(int flags) {
    return (flags & O_ACCMODE) == O_RDONLY ? kOpenToRead : kOpenToWrite;
}

mode_t creation_mode(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
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

int connect(int fd, const sockaddr* address, socklen_t length) {
    static constinit NextCall<int(int, const sockaddr*, socklen_t)> next("connect");
    return fails(kConnect) ? -1 : next.get()(fd, address, length);
}

ssize_t sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
               socklen_t length) {
    static constinit NextCall<ssize_t(int, const void*, size_t, int, const sockaddr*, socklen_t)>
        next("sendto");
    return fails(kSendto) ? -1 : next.get()(fd, data, size, flags, address, length);
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return fails(opening(flags), path) ? -1 : next_open.get()(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return fails(opening(flags), path) ? -1 : next_open.get()(path, flags, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static constinit NextCall<FILE*(const char*, const char*)> next("fopen64");
    const bool reads = mode[0] == 'r';
    if (fails(reads ? kOpenToRead : kOpenToWrite, path)) return nullptr;
    return reads || call_orders() == nullptr ? next.get()(path, mode)
                                             : open_for_writing(path, mode);
}

FILE* fopen(const char* path, const char* mode) { return fopen64(path, mode); }

ssize_t write(int fd, const void* data, size_t size) { return write_or_fail(fd, data, size); }

ssize_t writev(int fd, const iovec* pieces, int count) {
    static constinit NextCall<ssize_t(int, const iovec*, int)> next("writev");
    if (!fails(kWrite)) return next.get()(fd, pieces, count);
    return errno == 0 ? next.get()(fd, pieces, count / 2) : -1;
}

int rename(const char* from, const char* to) noexcept {
    static constinit NextCall<int(const char*, const char*)> next("rename");
    return fails(kRename, from) ? -1 : next.get()(from, to);
}

int stat(const char* path, struct stat* result) noexcept {
    static constinit NextCall<int(const char*, struct stat*)> next("stat");
    return fails(kStat, path) ? -1 : next.get()(path, result);
}

int stat64(const char* path, struct stat64* result) noexcept {
    static constinit NextCall<int(const char*, struct stat64*)> next("stat64");
    return fails(kStat, path) ? -1 : next.get()(path, result);
}

FILE* popen(const char* command, const char* mode) {
    static constinit NextCall<FILE*(const char*, const char*)> next("popen");
    return fails(kPopen, command) ? nullptr : next.get()(command, mode);
}

int system(const char* command) {
    static constinit NextCall<int(const char*)> next("system");
    return fails(kSystem, command) ? -1 : next.get()(command);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static constinit NextCall<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> next(
        "pthread_create");
    int error = 0;
    return must_fail(kPthreadCreate, error) ? error
                                            : next.get()(thread, attributes, body, argument);
}

int getifaddrs(ifaddrs** list) noexcept {
    static constinit NextCall<int(ifaddrs**)> next("getifaddrs");
    return fails(kGetifaddrs) ? -1 : next.get()(list);
}

int sysinfo(struct sysinfo* info) noexcept {
    static constinit NextCall<int(struct sysinfo*)> next("sysinfo");
    return fails(kSysinfo) ? -1 : next.get()(info);
}

int nanosleep(const timespec* time, timespec* rest) {
    static constinit NextCall<int(const timespec*, timespec*)> next("nanosleep");
    if (call_orders() == nullptr) return next.get()(time, rest);
    count_pass(*time);
    const timespec nap = shortened(*time);
    return next.get()(&nap, rest);
}

}  // extern "C"
