#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// What stands between a target and the machine. The daemon's calls to the shell, to files
// at its fixed paths and to the network end here (the linker's --wrap sends them), so that
// an execution takes no real time, leaves nothing on the machine and always goes the same
// way. Everything else of the process reaches the system as ever. One thread.
namespace ruvo::fuzz {

// Ends the process, which libFuzzer takes for a finding.
void require(bool holds, const char* what);

// Keeps the daemon's messages from the fuzzer's own output.
void drop_standard_output();

// What a task writes to standard output.
std::string output_of(const std::function<void()>& task);

// The file that stands for a fixed path of the daemon; the folder goes with the process.
std::string stand_in_path(std::string_view path);
void write_file(const std::string& path, std::string_view text);
std::string file_text(const std::string& path);
void remove_file(const std::string& path);

// The output of every command whose text begins with `program`. A command that nobody
// answers can't be started.
void answer_command(const std::string& program, std::string output);
void answer_no_command(const std::string& program);
// Whether the commands that are run for their effect succeed, and what they were.
void let_commands_fail(bool fail);
std::vector<std::string> take_commands_run();

// A stream over a text, to its end, zero bytes included.
std::FILE* open_text(std::string_view text);

// The steps of a connection that can be refused.
enum class Step { kNone, kSocket, kOption, kBind, kListen, kConnect, kReceive, kAccept, kSelect };

// The step that fails once, with this errno value, when it has been taken as often as
// `successes` says.
void refuse_once(Step step, int error, std::size_t successes = 0);

// The other side of a TCP connection that the daemon makes: what it finds there to read.
// With `gone` the service goes away before it has read anything.
void serve_client(std::string_view reply, bool gone);
// What the daemon has sent there.
std::string take_client_request();

// What a peer of the command port does.
enum class Manner { kStays, kIsGone, kIsSilent };

struct Peer {
    std::string request;
    Manner manner = Manner::kStays;
    std::string reply{};     // what the daemon has answered
    bool is_served = false;  // accepted, and closed by the daemon
};

// Has the command server accept these one after the other; when the last has been served
// and nothing is left to do, watching fails, which ends the server. The peers' replies are
// complete then.
void connect_peers(std::vector<Peer> peers);
std::vector<Peer> take_peers();

// A descriptor that an execution loses takes this number.
int lowest_free_descriptor();

}  // namespace ruvo::fuzz
