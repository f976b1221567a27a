// Sends any bytes to the command port. The command server runs as in the daemon, from its
// socket's opening on, over the real queue, list and test settings; the peers' ends of the
// connections are held here.

#include "core/daemon_context.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/process_state.h"
#include "core/text_cut.h"
#include "events/find_event.h"
#include "execution/event_queue.h"
#include "execution/server_context.h"
#include "fuzz/stand_in_system.h"
#include "net/command_request.h"
#include "net/command_server.h"
#include "settings/load_settings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::fuzz {
namespace {

// An input is a byte of switches and the requests; each of these bytes ends one and says
// what its sender does: waits for the reply, goes away before it, or says nothing at all.
constexpr char kStays = '\x1e';
constexpr char kIsGone = '\x1d';
constexpr char kIsSilent = '\x1c';

// Lookups add up; that they do is measured elsewhere.
constexpr std::ptrdiff_t kMostLines = 64;

constexpr char kSettings[] =
    "PowerOnCount=1\nPowerOnDelay=1\nPowerOnIP0=10.1.2.3\nPowerOnPort0=9\nPowerOnProtocol0=UDP\n"
    "PowerOnData0=7B7B6D6F64656C7D7D5C725C6E\n"
    "FirstCount=2\nFirstXMLfield=go\nFirstDelay=2\nFirstData0=7B7B646174657D7D\n"
    "FirstData1=7B7B74696D657D7D7B7B757074696D657D7D\nLateCount=1\nLateDelay=-3\n"
    "a bCount=1\n";
constexpr char kTestSettings[] =
    "TryCount=1\nTryXMLfield=go\nTryDelay=9\nTryData0=5C6E7B7B696E7075747D7D\n"
    "PowerOnCount=3\n";
constexpr char kReport[] = "model:AV-100\ninput:HDMI1\npower:on\nvolume:42\ntime:\\r\nx:{{x}}\n";
constexpr char kStore[] =
    R"({"network":{"ruvo":{"enable":true},"port":2700,"name":"a=b:c"},"level":0.5,"list":[]})";

ServerContext& server() {
    static const auto it = std::make_unique<ServerContext>();
    return *it;
}

void read_settings_of(std::int32_t test) {
    static LogSite failed;
    load_settings(*g_daemon_ctx, test, failed, "fuzz", 1);
}

void set_up_process() {
    drop_standard_output();
    answer_command("userconfigtool get", "true\n");
    answer_command("printf ", kReport);
    const std::string store = stand_in_path("/mnt/configs/user_config.json");
    write_file(store, kStore);
    require(::setenv("RUVO_USER_CONFIG", store.c_str(), 1) == 0, "the store's place");
    write_file(stand_in_path(kSettingsPath), kSettings);
    write_file(stand_in_path(kTestSettingsPath), kTestSettings);
    g_daemon_ctx = std::make_unique<DaemonContext>().release();
    g_server_ctx = &server();
    read_settings_of(0);
}

// What fails, and behind how many successes.
struct Refusal {
    Step step;
    int error;
    std::size_t successes;
    bool costs_replies;
};
constexpr std::array<Refusal, 14> kRefusals = {{{Step::kNone, 0, 0, false},
                                                {Step::kAccept, EINTR, 0, false},
                                                {Step::kAccept, EMFILE, 0, true},
                                                {Step::kAccept, EMFILE, 1, true},
                                                {Step::kAccept, EMFILE, 2, true},
                                                {Step::kAccept, EMFILE, 3, true},
                                                {Step::kReceive, EINTR, 0, false},
                                                {Step::kReceive, ECONNRESET, 0, true},
                                                {Step::kSelect, EINTR, 0, false},
                                                {Step::kSelect, ENOMEM, 2, true},
                                                {Step::kSocket, EMFILE, 0, true},
                                                {Step::kOption, ENOBUFS, 0, true},
                                                {Step::kBind, EACCES, 0, true},
                                                {Step::kListen, EOPNOTSUPP, 0, true}}};

const Refusal& refusal_of(std::uint8_t switches) {
    return kRefusals[switches / 8 % kRefusals.size()];
}

// What an execution leaves behind for the next one.
void set_up_execution(std::uint8_t switches) {
    g_daemon_ctx->enable = (switches & 1) == 0 ? 1 : 0;
    g_debug_flag = (switches & 2) != 0 ? 1 : 0;
    let_commands_fail((switches & 4) != 0);
    const Refusal& refusal = refusal_of(switches);
    refuse_once(refusal.step, refusal.error, refusal.successes);
    g_daemon_ctx->testEntries.set({});
    g_daemon_ctx->testEventList.set({});
    const Guard guard(server().mutex);
    server().t_ns_next = 0;
}

std::vector<Peer> peers_of(std::string_view text) {
    constexpr std::string_view kEnds = "\x1c\x1d\x1e";
    std::vector<Peer> peers;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(kEnds), text.size());
        const char manner = end < text.size() ? text[end] : kStays;
        peers.push_back({.request = std::string(text.substr(0, end)),
                         .manner = manner == kIsGone     ? Manner::kIsGone
                                   : manner == kIsSilent ? Manner::kIsSilent
                                                         : Manner::kStays});
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return peers;
}

// The reply's text as the protocol has it; `value` is what a read value may be.
bool is_reply(std::string_view reply, std::string_view request, bool may_be_disabled) {
    const std::string key(request.substr(0, request.find('=')));
    const auto with_line_end = [](const std::string& text) {
        return text.ends_with('\n') ? text : text + '\n';
    };
    if (!key.starts_with("__")) {
        return reply == with_line_end(key) ||
               (may_be_disabled && reply == "Event Disabled, skip " + key);
    }
    const std::string command(without_line_feed(key));
    const auto colon = command.find(':');
    if (colon == std::string::npos) return reply == "Error: fail command:" + command + "\n";
    const std::string word = command.substr(0, colon);
    const std::string argument = command.substr(colon + 1);
    if (word == "__TEST__") return reply == "call event " + argument;
    if (word == "__GET__") return reply.starts_with(argument + "=") && reply.ends_with('\n');
    return reply == "Error: fail command:" + word + "\n";
}

bool can_be_disabled(const std::vector<Peer>& peers, std::uint8_t switches) {
    return (switches & 1) != 0 || std::any_of(peers.begin(), peers.end(), [](const Peer& peer) {
               return peer.request.starts_with("__SET__:");
           });
}

void require_replies(const std::vector<Peer>& peers, std::uint8_t switches) {
    const bool may_be_disabled = can_be_disabled(peers, switches);
    std::size_t unanswered = 0;
    for (const Peer& peer : peers) {
        if (peer.manner == Manner::kIsGone) continue;
        const std::string_view request = request_text(peer.request);
        if (peer.manner == Manner::kIsSilent || peer.request.empty()) {
            require(peer.reply.empty(), "who says nothing hears nothing");
        } else if (peer.reply.empty()) {
            ++unanswered;
        } else {
            require(peer.is_served, "a connection is one request");
            require(is_reply(peer.reply, request, may_be_disabled), "the reply");
        }
    }
    require(unanswered == 0 || refusal_of(switches).costs_replies, "every request is answered");
}

// Every record is a copy of an event, with its times; the queue is empty afterwards.
void require_queue(const std::vector<Peer>& peers) {
    std::ptrdiff_t most = 0;
    for (const Peer& peer : peers) {
        most += std::count(peer.request.begin(), peer.request.end(), '\n') + 1;
    }
    while (const EventEntry* const record = record_at(server(), 0)) {
        require(--most >= 0, "a line queues one record at most");
        const auto list =
            (record->test ? g_daemon_ctx->testEventList : g_daemon_ctx->eventList).get();
        const std::string& name = record->test ? record->name : record->xmlField;
        const EventEntry* const event = find_event(*list, name, record->test);
        require(event != nullptr && event->subCommands.size() == record->subCommands.size(),
                "a record is an event's copy");
        require(record->t_ns_cread > 0 && record->has_run == kRecordNotRun, "a record is new");
        const std::int64_t delay_s = record->test ? 0 : event->delay;
        require(record->t_ns_exec == record->t_ns_cread + delay_s * 1'000'000'000,
                "a record is due after its delay");
        erase_record(server(), 0);
    }
    require(queue_is_empty(server()), "the queue's places are free");
    for (const auto& state : server().thread_state)
        require(state == kSlotFree, "the slots are free");
}

void require_commands() {
    for (const std::string& command : take_commands_run()) {
        require(command == "userconfigtool set boolean network.ruvo.enable=true" ||
                    command == "userconfigtool set boolean network.ruvo.enable=false",
                "no text of a request reaches the shell");
    }
}

void try_input(std::uint8_t switches, std::string_view text) {
    if (std::count(text.begin(), text.end(), '\n') > kMostLines) return;
    const std::vector<Peer> peers = peers_of(text);
    if (peers.size() > 64) return;
    set_up_execution(switches);
    const int descriptor = lowest_free_descriptor();
    connect_peers(peers);
    require(handle_tcp_event(&server()) == 0, "the server ends");
    refuse_once(Step::kNone, 0);
    require_replies(take_peers(), switches);
    require(lowest_free_descriptor() == descriptor, "no descriptor is lost");
    require_queue(peers);
    require_commands();
    require(g_daemon_ctx->eventList.get()->size() == 4, "the list is as before");
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ruvo::fuzz::set_up_process();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    ruvo::fuzz::try_input(data[0], {reinterpret_cast<const char*>(data + 1), size - 1});
    return 0;
}
