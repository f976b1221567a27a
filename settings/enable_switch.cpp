#include "settings/enable_switch.h"

#include "core/daemon_context.h"
#include "core/line_reader.h"
#include "core/log.h"
#include "platform/shell.h"

#include <strings.h>

namespace ruvo {
namespace {

constexpr std::size_t kToolLineBytes = 128;

bool begins_with_word(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && ::strncasecmp(text.data(), word.data(), word.size()) == 0;
}

std::optional<bool> ask_tool() {
    // The text behind "=" is the tool's answer for a key that is not set.
    const UniquePipe pipe = open_command("userconfigtool get boolean network.ruvo.enable=false");
    if (!pipe) return {};
    LineReader<kToolLineBytes> lines(pipe.get());
    const auto line = lines.next();
    return line ? parse_switch(*line) : std::nullopt;
}

std::uint32_t switch_commands(DaemonContext& context) {
    const Guard guard(context.enable_guard);
    return context.switch_commands;
}

// An answer counts when no command has set the switch since the question.
void store_answer(DaemonContext& context, bool answer, std::uint32_t commands_before) {
    const bool was_command_under_way = commands_before % 2 != 0;
    const Guard guard(context.enable_guard);
    if (was_command_under_way || context.switch_commands != commands_before) return;
    context.enable.store(answer ? 1 : 0, std::memory_order_relaxed);
}

}  // namespace

std::optional<bool> parse_switch(std::string_view tool_output) {
    if (begins_with_word(tool_output, "true")) return true;
    if (begins_with_word(tool_output, "false")) return false;
    return {};
}

int renew_enable_event(DaemonContext& context) {
    const std::uint32_t commands_before = switch_commands(context);
    if (const auto answer = ask_tool()) store_answer(context, *answer, commands_before);
    debug_line("[%s:%d] enable event=%d\n", "renew_enable_event", 700,
               static_cast<int>(context.enable.load(std::memory_order_relaxed)));
    return 0;
}

SwitchCommand::SwitchCommand(DaemonContext& context, std::uint32_t enable) : context_(context) {
    const Guard guard(context_.enable_guard);
    ++context_.switch_commands;
    context_.enable.store(enable, std::memory_order_relaxed);
}

SwitchCommand::~SwitchCommand() {
    const Guard guard(context_.enable_guard);
    ++context_.switch_commands;
}

}  // namespace ruvo
