// bench-clients CLIENTS SECONDS NAME: so many clients trigger an event one request after
// the other for so long. Prints {"right":N,"wrong":N,"failed":N,"seconds":S}: requests
// answered with the event's name, answered otherwise, and not answered at all.

#include "bench/arguments.h"
#include "core/unique_fd.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t kCommandPort = 2700;

struct Tally {
    long right = 0;
    long wrong = 0;
    long failed = 0;
};

enum class Answer { kRight, kWrong, kNone };

bool connect_to_command_port(const ruvo::UniqueFd& sock) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(kCommandPort);
    return ::connect(sock.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Answer ask(const std::string& request) {
    const ruvo::UniqueFd sock(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!sock || !connect_to_command_port(sock)) return Answer::kNone;
    if (::send(sock.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0) return Answer::kNone;
    std::string reply;
    std::array<char, 4096> bytes;
    for (;;) {
        const ssize_t received = ::recv(sock.get(), bytes.data(), bytes.size(), 0);
        if (received <= 0) break;
        reply.append(bytes.data(), static_cast<std::size_t>(received));
    }
    if (reply.empty()) return Answer::kNone;
    return reply == request ? Answer::kRight : Answer::kWrong;
}

void trigger_until(Clock::time_point end, const std::string& request, Tally& tally) {
    while (Clock::now() < end) {
        switch (ask(request)) {
            case Answer::kRight:
                ++tally.right;
                break;
            case Answer::kWrong:
                ++tally.wrong;
                break;
            case Answer::kNone:
                ++tally.failed;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                break;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: bench-clients CLIENTS SECONDS NAME\n");
        return 2;
    }
    const long clients = ruvo::bench::number_argument(argc, argv, 1, 0);
    const long seconds = ruvo::bench::number_argument(argc, argv, 2, 0);
    const std::string request = std::string(argv[3]) + "\n";
    std::vector<Tally> tallies(static_cast<std::size_t>(clients));
    std::vector<std::thread> threads;
    threads.reserve(tallies.size());
    const auto begin = Clock::now();
    for (Tally& tally : tallies) {
        threads.emplace_back(
            [&] { trigger_until(begin + std::chrono::seconds(seconds), request, tally); });
    }
    for (std::thread& thread : threads) thread.join();
    const std::chrono::duration<double> taken = Clock::now() - begin;
    Tally sum;
    for (const Tally& tally : tallies) {
        sum.right += tally.right;
        sum.wrong += tally.wrong;
        sum.failed += tally.failed;
    }
    std::printf("{\"right\":%ld,\"wrong\":%ld,\"failed\":%ld,\"seconds\":%.6f}\n", sum.right,
                sum.wrong, sum.failed, taken.count());
}
