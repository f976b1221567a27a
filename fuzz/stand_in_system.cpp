#include "fuzz/stand_in_system.h"

#include "core/unique_fd.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
std::FILE* __real_fopen64(const char* path, const char* mode);
int __real_open64(const char* path, int flags, ...);
int __real_rename(const char* from, const char* to);
int __real_socket(int domain, int type, int protocol);
int __real_setsockopt(int sock, int level, int name, const void* value, socklen_t length);
ssize_t __real_recv(int sock, void* buffer, size_t size, int flags);
int __real_select(int count, fd_set* reading, fd_set* writing, fd_set* failing, timeval* timeout);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace ruvo::fuzz {
namespace {

namespace fs = std::filesystem;

class Folder {
  public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "ruvo-fuzz-XXXXXX").string();
        require(::mkdtemp(name.data()) != nullptr, "a temporary folder");
        path_ = name;
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

struct Connection {
    UniqueFd side;  // the peer's
    std::size_t peer = 0;
};

struct System {
    const Folder folder;
    std::map<std::string, std::string> answers;
    bool commands_fail = false;
    std::vector<std::string> commands;
    Step refused = Step::kNone;
    int error = 0;
    std::size_t successes = 0;
    UniqueFd service;
    std::string service_reply;
    bool service_is_gone = false;
    std::vector<Peer> peers;
    std::size_t accepted = 0;
    std::vector<Connection> connections;
};

System& system() {
    static System it;
    return it;
}

bool is_refused(Step step) {
    System& s = system();
    if (s.refused != step) return false;
    if (s.successes > 0) {
        --s.successes;
        return false;
    }
    s.refused = Step::kNone;
    errno = s.error;
    return true;
}

bool is_fixed(std::string_view path) {
    constexpr std::array<std::string_view, 3> kFixed = {"/tmp/ruvo_", "/mnt/configs/", "/var/log/"};
    return std::any_of(kFixed.begin(), kFixed.end(),
                       [&](std::string_view prefix) { return path.starts_with(prefix); });
}

std::string actual_path(const char* path) { return is_fixed(path) ? stand_in_path(path) : path; }

// Both ends of a connection.
std::array<UniqueFd, 2> connected_pair() {
    std::array<int, 2> ends{};
    require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "a connection");
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void send_all(int sock, std::string_view text) {
    if (text.empty()) return;
    require(::send(sock, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "a text that a connection holds");
}

// Everything that is there, without waiting. Whether the other side has closed.
bool receive_all(int sock, std::string& text) {
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t n = __real_recv(sock, buffer.data(), buffer.size(), MSG_DONTWAIT);
        // With a part of the request unread the end is a reset.
        if (n == 0 || (n < 0 && errno == ECONNRESET)) return true;
        if (n < 0) return false;
        text.append(buffer.data(), static_cast<std::size_t>(n));
    }
}

}  // namespace

void require(bool holds, const char* what) {
    if (holds) return;
    (void)std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

void drop_standard_output() {
    require(std::freopen("/dev/null", "w", stdout) != nullptr, "a place for the output");
    // As in the daemon, a peer that goes away is an errno value.
    (void)std::signal(SIGPIPE, SIG_IGN);
}

std::string output_of(const std::function<void()>& task) {
    static std::array<char, 1 << 16> buffer;
    std::FILE* const kept = stdout;
    stdout = ::fmemopen(buffer.data(), buffer.size(), "w");
    require(stdout != nullptr, "a stream for the output");
    task();
    const long length = std::ftell(stdout);
    (void)std::fclose(stdout);
    stdout = kept;
    return {buffer.data(), static_cast<std::size_t>(length)};
}

// No two of the fixed paths end alike.
std::string stand_in_path(std::string_view path) {
    return system().folder.path() + std::string(path.substr(path.rfind('/')));
}

void write_file(const std::string& path, std::string_view text) {
    const UniqueFd file(
        __real_open64(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    require(
        file && ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()),
        "a file can be written");
}

std::string file_text(const std::string& path) {
    const UniqueFd file(__real_open64(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!file) return text;
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t n = ::read(file.get(), buffer.data(), buffer.size());
        require(n >= 0, "a file can be read");
        if (n == 0) return text;
        text.append(buffer.data(), static_cast<std::size_t>(n));
    }
}

void remove_file(const std::string& path) { (void)::unlink(path.c_str()); }

void answer_command(const std::string& program, std::string output) {
    system().answers[program] = std::move(output);
}

void answer_no_command(const std::string& program) { system().answers.erase(program); }

void let_commands_fail(bool fail) { system().commands_fail = fail; }

std::vector<std::string> take_commands_run() { return std::exchange(system().commands, {}); }

std::FILE* open_text(std::string_view text) {
    // Never written to: the stream is for reading.
    std::FILE* const stream = ::fmemopen(const_cast<char*>(text.data()), text.size(), "r");
    require(stream != nullptr, "a stream over a text");
    return stream;
}

void refuse_once(Step step, int error, std::size_t successes) {
    system().refused = step;
    system().error = error;
    system().successes = successes;
}

void serve_client(std::string_view reply, bool gone) {
    system().service_reply = reply;
    system().service_is_gone = gone;
}

std::string take_client_request() {
    System& s = system();
    std::string text;
    if (s.service) (void)receive_all(s.service.get(), text);
    s.service.reset();
    return text;
}

void connect_peers(std::vector<Peer> peers) {
    System& s = system();
    s.peers = std::move(peers);
    s.accepted = 0;
}

std::vector<Peer> take_peers() {
    System& s = system();
    for (const Connection& connection : s.connections) {
        Peer& peer = s.peers[connection.peer];
        peer.is_served = receive_all(connection.side.get(), peer.reply);
    }
    s.connections.clear();
    return std::exchange(s.peers, {});
}

int lowest_free_descriptor() {
    const UniqueFd lowest(::fcntl(2, F_DUPFD_CLOEXEC, 0));
    return lowest.get();
}

namespace {

int accept_next() {
    System& s = system();
    if (is_refused(Step::kAccept)) return -1;
    const std::size_t index = s.accepted++;
    const Peer& peer = s.peers[index];
    auto [daemon, other] = connected_pair();
    if (peer.manner != Manner::kIsSilent) {
        send_all(other.get(), peer.request);
        (void)::shutdown(other.get(), SHUT_WR);
    }
    if (peer.manner == Manner::kIsGone) {
        other.reset();
    } else {
        s.connections.push_back({std::move(other), index});
    }
    return daemon.release();
}

bool is_listener(int sock) {
    int domain = 0;
    socklen_t length = sizeof domain;
    return ::getsockopt(sock, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_INET;
}

// What is ready now. The listening socket is the only one that is no connection of ours,
// and the lowest of the server's descriptors.
int ready_now(int count, fd_set* reading) {
    const System& s = system();
    int listener = 0;
    while (listener < count && !FD_ISSET(listener, reading)) ++listener;
    const bool is_listening = listener < count && is_listener(listener);
    if (is_listening && s.accepted < s.peers.size()) {
        FD_ZERO(reading);
        FD_SET(listener, reading);
        return 1;
    }
    if (is_listening) FD_CLR(listener, reading);
    timeval at_once{};
    const int ready = __real_select(count, reading, nullptr, nullptr, &at_once);
    if (ready > 0) return ready;
    errno = ENOMEM;
    return -1;
}

}  // namespace
}  // namespace ruvo::fuzz

// The daemon's calls.

using ruvo::fuzz::actual_path;
using ruvo::fuzz::is_refused;
using ruvo::fuzz::Step;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

std::FILE* __wrap_popen(const char* command, const char* /*mode*/) {
    for (const auto& [program, output] : ruvo::fuzz::system().answers) {
        if (std::string_view(command).starts_with(program)) return ruvo::fuzz::open_text(output);
    }
    errno = ENOMEM;
    return nullptr;
}

int __wrap_pclose(std::FILE* pipe) { return std::fclose(pipe); }

int __wrap_system(const char* command) {
    ruvo::fuzz::system().commands.emplace_back(command);
    return ruvo::fuzz::system().commands_fail ? 256 : 0;
}

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
    return __real_fopen64(actual_path(path).c_str(), mode);
}

int __wrap_open64(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    // Messages add up over millions of executions.
    if (std::string_view(path).starts_with("/var/log/")) path = "/dev/null";
    return __real_open64(actual_path(path).c_str(), flags, mode);
}

int __wrap_rename(const char* from, const char* to) {
    return __real_rename(actual_path(from).c_str(), actual_path(to).c_str());
}

int __wrap_socket(int domain, int type, int protocol) {
    if (is_refused(Step::kSocket)) return -1;
    return __real_socket(domain, type, protocol);
}

int __wrap_setsockopt(int sock, int level, int name, const void* value, socklen_t length) {
    if (is_refused(Step::kOption)) return -1;
    return __real_setsockopt(sock, level, name, value, length);
}

int __wrap_bind(int /*sock*/, const sockaddr* /*address*/, socklen_t /*length*/) {
    return is_refused(Step::kBind) ? -1 : 0;
}

int __wrap_listen(int /*sock*/, int /*backlog*/) { return is_refused(Step::kListen) ? -1 : 0; }

// The socket becomes an end of a connection to the service.
int __wrap_connect(int sock, const sockaddr* /*address*/, socklen_t /*length*/) {
    if (is_refused(Step::kConnect)) return -1;
    ruvo::fuzz::System& s = ruvo::fuzz::system();
    auto [daemon, service] = ruvo::fuzz::connected_pair();
    if (s.service_is_gone) {
        service.reset();
    } else {
        ruvo::fuzz::send_all(service.get(), s.service_reply);
        (void)::shutdown(service.get(), SHUT_WR);
    }
    s.service = std::move(service);
    return ::dup3(daemon.get(), sock, O_CLOEXEC) == sock ? 0 : -1;
}

ssize_t __wrap_recv(int sock, void* buffer, size_t size, int flags) {
    if (is_refused(Step::kReceive)) return -1;
    return __real_recv(sock, buffer, size, flags);
}

int __wrap_accept4(int /*sock*/, sockaddr* /*address*/, socklen_t* /*length*/, int /*flags*/) {
    return ruvo::fuzz::accept_next();
}

int __wrap_select(int count, fd_set* reading, fd_set* /*writing*/, fd_set* /*failing*/,
                  timeval* /*timeout*/) {
    return is_refused(Step::kSelect) ? -1 : ruvo::fuzz::ready_now(count, reading);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
