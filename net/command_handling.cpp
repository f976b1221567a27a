#include "net/command_handling.h"

#include "core/daemon_context.h"
#include "core/log.h"
#include "core/process_state.h"
#include "core/text_cut.h"
#include "execution/event_queue.h"
#include "net/command_text.h"
#include "platform/shell.h"
#include "platform/user_config.h"
#include "settings/enable_switch.h"
#include "settings/load_settings.h"

#include <sys/socket.h>

#include <atomic>
#include <cstdint>

namespace ruvo {
namespace {

// How many commands have been handled; nothing reads it but a debugger.
std::atomic<std::int32_t> command_count{0};

// The failure is counted where the reply comes from.
void send_reply(int connection, const std::string& reply, LogSite& failure,
                const std::string& command) {
    if (::send(connection, reply.data(), reply.size(), 0) >= 0) return;
    // No line end: the next message continues the line.
    log_line(failure, "Error: fail response: %s", command.c_str());
}

void refuse(int connection, const std::string& key) {
    const std::string reply = fail_reply(key);
    static LogSite malformed;  // the reply brings the line end
    log_line(malformed, "[%s:%d] Error command: %s", "handle_tcp_command", 1512, reply.c_str());
    static LogSite not_sent;
    send_reply(connection, reply, not_sent, key);
}

// Malformed settings leave the test list as it was; the event is looked up in it.
std::string test_event(const std::string& event) {
    static LogSite failed;
    (void)load_settings(*g_daemon_ctx, 1, failed, "handle_tcp_command", 1521);
    (void)push_event_back(*g_server_ctx, event, 1);
    return test_reply(event);
}

// Takes effect at once, and is kept for the next start.
void set_switch(std::uint32_t enable, int line, const char* command) {
    const SwitchCommand being_stored(*g_daemon_ctx, enable);
    debug_line("[%s:%d] s_cmd=%s\n", "handle_tcp_command", line, command);
    (void)_system(command);  // the client hears nothing of a failure
}

void change_switch(const std::string& argument, const std::string& value) {
    const std::string key(named_key(argument));
    debug_line("[%s:%d] key=%s, value=%s\n", "handle_tcp_command", 1540, key.c_str(),
               value.c_str());
    const std::string wanted(without_line_feed(value));
    switch (switch_request(key, wanted)) {
        case SwitchRequest::kOn:
            set_switch(1, 1549, "userconfigtool set boolean network.ruvo.enable=true");
            break;
        case SwitchRequest::kOff:
            set_switch(0, 1556, "userconfigtool set boolean network.ruvo.enable=false");
            break;
        case SwitchRequest::kBadValue:
            debug_line("[%s:%d] value error: %s\n", "handle_tcp_command", 1559, wanted.c_str());
            break;
        case SwitchRequest::kOtherKey:
            debug_line("[%s:%d] key not match:%s\n", "handle_tcp_command", 1562, key.c_str());
            break;
    }
}

// Carries a command out and returns its reply. A changed switch has none of its own, so
// its success reads like the failure of an unknown command; clients know this answer.
std::string carry_out(const CommandKey& command, const std::string& value) {
    if (command.word == "__TEST__") return test_event(command.argument);
    if (command.word == "__GET__")
        return get_reply(command.argument, get_token_value(command.argument));
    if (command.word == "__SET__") change_switch(command.argument, value);
    return fail_reply(command.word);
}

}  // namespace

int handle_tcp_command(int connection, std::string_view key, std::string_view value) {
    command_count.fetch_add(1, std::memory_order_relaxed);
    const std::string key_text(without_line_feed(key));
    if (const auto command = split_command(key_text)) {
        static LogSite not_sent;
        send_reply(connection, carry_out(*command, std::string(value)), not_sent, command->word);
    } else {
        refuse(connection, key_text);
    }
    return 0;
}

}  // namespace ruvo
