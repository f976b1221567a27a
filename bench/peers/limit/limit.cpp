// bench-limit: triggers on a local TCP port, messages out by UDP and TCP, in one thread over
// epoll and a timer descriptor. It polls nothing, runs no other program and writes no log.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kStatusTimeoutNs = 100 * kNsPerMs;
constexpr std::int64_t kClientTimeoutNs = 2 * kNsPerSecond;
constexpr std::int64_t kTcpTimeoutNs = 2 * kNsPerSecond;
constexpr int kBacklog = 128;

[[noreturn]] void throw_errno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() {
        if (fd_ >= 0) close(fd_);
    }
    int get() const { return fd_; }

  private:
    int fd_;
};

Descriptor open_socket(int type) {
    Descriptor fd(socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (fd.get() < 0) throw_errno("socket");
    return fd;
}

sockaddr_in make_address(const std::string& ip, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, ip.c_str(), &address.sin_addr) != 1) {
        throw std::invalid_argument(ip + " is no address");
    }
    return address;
}

std::int64_t monotonic_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

// Calls what waits for a descriptor or for a moment. Whatever is called may watch, forget,
// plan and cancel as it likes.
class Reactor {
  public:
    using Action = std::function<void()>;
    using Plan = std::multimap<std::int64_t, Action>;
    using Timer = Plan::iterator;

    Reactor() {
        if (epoll_.get() < 0) throw_errno("epoll_create1");
        if (alarm_.get() < 0) throw_errno("timerfd_create");
        add(alarm_.get(), EPOLLIN, kAlarm);
    }

    // Returns what forget takes; a number is never used again, so an event that was already
    // fetched for a forgotten descriptor finds nobody.
    std::uint64_t watch(int fd, std::uint32_t events, Action action) {
        add(fd, events, ++last_id_);
        watched_.emplace(last_id_, std::move(action));
        return last_id_;
    }

    void forget(std::uint64_t id, int fd) {
        if (watched_.erase(id) != 0) epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
    }

    // Actions of the same moment are called in the order of their planning.
    Timer plan(std::int64_t due_ns, Action action) {
        return plan_.emplace(due_ns, std::move(action));
    }

    void cancel(Timer timer) { plan_.erase(timer); }

    [[noreturn]] void run() {
        for (;;) {
            call_due();
            set_alarm();
            wait();
        }
    }

  private:
    static constexpr std::uint64_t kAlarm = 0;

    void add(int fd, std::uint32_t events, std::uint64_t id) {
        epoll_event event{};
        event.events = events;
        event.data.u64 = id;
        if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0) throw_errno("epoll_ctl");
    }

    void call_due() {
        while (!plan_.empty() && plan_.begin()->first <= monotonic_ns()) {
            const auto node = plan_.extract(plan_.begin());
            node.mapped()();
        }
    }

    void set_alarm() {
        const std::int64_t next_ns = plan_.empty() ? 0 : plan_.begin()->first;
        if (next_ns == alarm_ns_) return;
        alarm_ns_ = next_ns;
        itimerspec time{};
        time.it_value = {next_ns / kNsPerSecond, static_cast<long>(next_ns % kNsPerSecond)};
        timerfd_settime(alarm_.get(), TFD_TIMER_ABSTIME, &time, nullptr);
    }

    void wait() {
        std::array<epoll_event, 64> events{};
        const int count = epoll_wait(epoll_.get(), events.data(), events.size(), -1);
        for (int i = 0; i < count; ++i) {
            const std::uint64_t id = events[static_cast<std::size_t>(i)].data.u64;
            if (id == kAlarm) {
                clear_alarm();
            } else if (const auto found = watched_.find(id); found != watched_.end()) {
                const Action action = found->second;
                action();
            }
        }
    }

    void clear_alarm() {
        std::uint64_t expirations = 0;
        // silent: what is due is called whatever the descriptor says
        (void)!read(alarm_.get(), &expirations, sizeof expirations);
        alarm_ns_ = 0;
    }

    Descriptor epoll_{epoll_create1(EPOLL_CLOEXEC)};
    Descriptor alarm_{timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)};
    std::int64_t alarm_ns_ = 0;
    std::uint64_t last_id_ = kAlarm;
    std::unordered_map<std::uint64_t, Action> watched_;
    Plan plan_;
};

enum class Reading { kToTheEnd, kOnce };

// One connection to somebody else: connects, sends, reads, and calls `done` with what it has
// read, also when something fails or takes too long. It owns itself until then.
class Exchange : public std::enable_shared_from_this<Exchange> {
  public:
    using Done = std::function<void(std::string reply)>;

    Exchange(Reactor& reactor, std::string request, Reading reading, Done done)
        : reactor_(reactor),
          request_(std::move(request)),
          reading_(reading),
          done_(std::move(done)) {}

    void start(const sockaddr_in& address, std::int64_t timeout_ns) {
        timer_ = reactor_.plan(monotonic_ns() + timeout_ns, [self = shared_from_this()] {
            self->has_timed_out_ = true;
            self->finish();
        });
        const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
        if (connect(socket_.get(), generic, sizeof address) == 0) {
            send_request();
        } else if (errno == EINPROGRESS) {
            watch(EPOLLOUT, &Exchange::send_request);
        } else {
            finish();
        }
    }

  private:
    void watch(std::uint32_t events, void (Exchange::*step)()) {
        reactor_.forget(watched_, socket_.get());
        watched_ = reactor_.watch(socket_.get(), events,
                                  [self = shared_from_this(), step] { ((*self).*step)(); });
    }

    void send_request() {
        // A request is shorter than any send buffer: it goes out whole or not at all.
        if (send(socket_.get(), request_.data(), request_.size(), MSG_NOSIGNAL) < 0) {
            finish();
        } else {
            watch(EPOLLIN, &Exchange::read_reply);
        }
    }

    void read_reply() {
        std::array<char, 4096> buffer{};
        const ssize_t n = recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (n > 0) reply_.append(buffer.data(), static_cast<std::size_t>(n));
        if (n <= 0 || reading_ == Reading::kOnce) finish();
    }

    void finish() {
        reactor_.forget(watched_, socket_.get());
        if (!has_timed_out_) reactor_.cancel(timer_);
        socket_ = Descriptor();
        done_(std::move(reply_));
    }

    Reactor& reactor_;
    std::string request_;
    Reading reading_;
    Done done_;
    Descriptor socket_ = open_socket(SOCK_STREAM);
    Reactor::Timer timer_;
    std::uint64_t watched_ = 0;
    bool has_timed_out_ = false;
    std::string reply_;
};

// The status report's items in its order; the first of two of one name counts.
using Items = std::vector<std::pair<std::string, std::string>>;

Items parse_report(std::string_view report) {
    Items items;
    while (!report.empty()) {
        const auto end = report.find_first_of("\r\n");
        const std::string_view line = report.substr(0, end);
        const auto colon = line.find(':');
        if (colon != std::string_view::npos) {
            items.emplace_back(line.substr(0, colon), line.substr(colon + 1));
        }
        report.remove_prefix(end == std::string_view::npos ? report.size() : end + 1);
    }
    return items;
}

std::string local_time(const char* format) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

std::string uptime() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return std::to_string(now.tv_sec);
}

std::string macro_value(const std::string& name, const Items& items) {
    for (const auto& [item, value] : items) {
        if (item == name) return value;
    }
    if (strcasecmp(name.c_str(), "date") == 0) return local_time("%Y-%m-%d ");
    if (strcasecmp(name.c_str(), "time") == 0) return local_time("%H:%M:%S");
    if (strcasecmp(name.c_str(), "uptime") == 0) return uptime();
    return {};
}

// A text cut up once, when it is read: pieces at odd places are names of macros.
using Pieces = std::vector<std::string>;

Pieces cut(std::string_view text) {
    Pieces pieces;
    for (;;) {
        const auto open = text.find("{{");
        const auto end = open == text.npos ? open : text.find("}}", open + 2);
        if (end == text.npos) break;
        pieces.emplace_back(text.substr(0, open));
        pieces.emplace_back(text.substr(open + 2, end - open - 2));
        text.remove_prefix(end + 2);
    }
    pieces.emplace_back(text);
    return pieces;
}

char escaped(char letter) {
    switch (letter) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return '\0';
    }
}

// In place: what comes out is never longer.
void unescape(std::string& text) {
    std::size_t to = 0;
    for (std::size_t from = 0; from < text.size(); ++from, ++to) {
        const bool is_pair = text[from] == '\\' && from + 1 < text.size();
        const char replacement = is_pair ? escaped(text[from + 1]) : '\0';
        text[to] = replacement != '\0' ? replacement : text[from];
        if (replacement != '\0') ++from;
    }
    text.resize(to);
}

// The escapes last: a macro's value may hold some.
std::string expand(const Pieces& pieces, const Items& items) {
    std::string text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        text += i % 2 == 0 ? pieces[i] : macro_value(pieces[i], items);
    }
    unescape(text);
    return text;
}

struct Step {
    bool is_udp = false;
    sockaddr_in address{};
    Pieces pieces;
    std::int64_t due_ns = 0;  // after the event's start
};

struct Scenario {
    int port = 0;
    int status_port = 0;
    std::unordered_map<std::string, std::vector<Step>> events;
};

// JSON's characters up to U+00FF stand for bytes.
std::string to_bytes(const std::string& utf8) {
    std::string bytes;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            bytes += utf8[i];
        } else {
            const auto next = static_cast<unsigned char>(utf8[++i]);
            bytes += static_cast<char>(((lead & 0x03U) << 6U) | (next & 0x3FU));
        }
    }
    return bytes;
}

std::vector<Step> read_steps(const nlohmann::json& event) {
    std::vector<Step> steps;
    std::int64_t due_ns = event.at("delay_s").get<std::int64_t>() * kNsPerSecond;
    for (const nlohmann::json& send : event.at("sends")) {
        due_ns += send.at("delay_ms").get<std::int64_t>() * kNsPerMs;
        steps.push_back({send.at("protocol") == "UDP",
                         make_address(send.at("ip"), send.at("port").get<int>()),
                         cut(to_bytes(send.at("text"))), due_ns});
    }
    return steps;
}

Scenario read_scenario(const char* path) {
    std::ifstream file(path);
    const auto document = nlohmann::json::parse(file);
    Scenario scenario;
    scenario.port = document.at("port");
    scenario.status_port = document.at("status_port");
    for (const auto& [name, event] : document.at("events").items()) {
        scenario.events.emplace(name, read_steps(event));
    }
    return scenario;
}

class Bridge {
  public:
    Bridge(Reactor& reactor, Scenario scenario)
        : reactor_(reactor),
          scenario_(std::move(scenario)),
          status_address_(make_address("127.0.0.1", scenario_.status_port)) {
        listen_on(make_address("127.0.0.1", scenario_.port));
    }

  private:
    struct Client {
        Descriptor socket;
        std::uint64_t watched = 0;
        Reactor::Timer timer;
    };

    void listen_on(const sockaddr_in& address) {
        const int on = 1;
        setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
        if (bind(listener_.get(), generic, sizeof address) != 0) throw_errno("bind");
        if (listen(listener_.get(), kBacklog) != 0) throw_errno("listen");
        reactor_.watch(listener_.get(), EPOLLIN, [this] { accept_clients(); });
    }

    void accept_clients() {
        for (;;) {
            Descriptor fd(accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
            if (fd.get() < 0) return;
            auto client = std::make_shared<Client>();
            client->socket = std::move(fd);
            client->watched = reactor_.watch(client->socket.get(), EPOLLIN,
                                             [this, client] { read_request(*client); });
            client->timer = reactor_.plan(monotonic_ns() + kClientTimeoutNs, [this, client] {
                reactor_.forget(client->watched, client->socket.get());
            });
        }
    }

    // Whatever the first receive returns is the request.
    void read_request(Client& client) {
        std::array<char, 1024> buffer{};
        const ssize_t n = recv(client.socket.get(), buffer.data(), buffer.size(), 0);
        if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
        reactor_.cancel(client.timer);
        reactor_.forget(client.watched, client.socket.get());
        if (n <= 0) return;
        std::string name(buffer.data(), static_cast<std::size_t>(n));
        if (name.back() == '\n') name.pop_back();
        serve(name, std::make_shared<Descriptor>(std::move(client.socket)));
    }

    void serve(const std::string& name, std::shared_ptr<Descriptor> client) {
        const auto event = scenario_.events.find(name);
        if (event == scenario_.events.end()) return reply(name, *client);
        fetch_status([this, event, client = std::move(client)] {
            std::vector<std::string> texts = expand_all(event->second);
            reply(event->first, *client);
            plan(event->second, std::move(texts));
        });
    }

    // Without an answer the items stay as they were.
    void fetch_status(std::function<void()> then) {
        auto done = [this, then = std::move(then)](const std::string& report) {
            if (!report.empty()) items_ = parse_report(report);
            then();
        };
        std::make_shared<Exchange>(reactor_, "getStatus\r", Reading::kToTheEnd, std::move(done))
            ->start(status_address_, kStatusTimeoutNs);
    }

    std::vector<std::string> expand_all(const std::vector<Step>& steps) const {
        std::vector<std::string> texts;
        texts.reserve(steps.size());
        for (const Step& step : steps) texts.push_back(expand(step.pieces, items_));
        return texts;
    }

    void plan(const std::vector<Step>& steps, std::vector<std::string> texts) {
        const std::int64_t start_ns = monotonic_ns();
        for (std::size_t i = 0; i < steps.size(); ++i) {
            reactor_.plan(
                start_ns + steps[i].due_ns,
                [this, &step = steps[i], data = std::move(texts[i])] { send_step(step, data); });
        }
    }

    static void reply(const std::string& name, const Descriptor& client) {
        const std::string line = name + "\n";
        // silent: the client may be gone
        (void)!send(client.get(), line.data(), line.size(), MSG_NOSIGNAL);
    }

    void send_step(const Step& step, const std::string& data) {
        if (!step.is_udp) {
            // The reply is read, so that it does not reset the connection, and dropped.
            std::make_shared<Exchange>(reactor_, data, Reading::kOnce, [](const std::string&) {
            })->start(step.address, kTcpTimeoutNs);
            return;
        }
        const auto* const generic = reinterpret_cast<const sockaddr*>(&step.address);
        // silent: there is nobody to tell
        (void)!sendto(udp_.get(), data.data(), data.size(), 0, generic, sizeof step.address);
    }

    Reactor& reactor_;
    Scenario scenario_;
    sockaddr_in status_address_;
    Items items_;
    Descriptor listener_ = open_socket(SOCK_STREAM);
    Descriptor udp_ = open_socket(SOCK_DGRAM);
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("Usage: bench-limit SCENARIO.json\n", stderr);
        return 2;
    }
    try {
        Reactor reactor;
        Bridge bridge(reactor, read_scenario(argv[1]));
        reactor.run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-limit: %s\n", error.what());
        return 1;
    }
}
