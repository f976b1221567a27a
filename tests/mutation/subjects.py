"""Which tests look at which source: the order in which a mutant meets them."""

import pathlib
import re

# The system tests of what each source takes part in, the likeliest to notice first.
SYSTEM_TESTS = {
    "core/build_info.h": ["command_line"],
    "core/client_mode.cpp": ["client", "command_line"],
    "core/client_mode.h": ["client", "command_line"],
    "core/command_line.cpp": ["command_line", "client", "start_up"],
    "core/command_line.h": ["command_line"],
    "core/daemon_context.cpp": ["start_up", "event_list", "enable_switch"],
    "core/daemon_context.h": ["start_up", "event_list", "enable_switch"],
    "core/exception_text.h": ["command_server", "event_list"],
    "core/file.cpp": ["start_up", "mirrors", "status_variables", "settings_file"],
    "core/file.h": ["start_up", "mirrors", "status_variables", "settings_file"],
    "core/futex.h": ["queue", "delays", "senders"],
    "core/line_reader.h": ["settings_file", "status_variables"],
    "core/local_time.cpp": ["time_zone", "clock_macros"],
    "core/local_time.h": ["time_zone", "clock_macros"],
    "core/log.cpp": ["log", "start_up"],
    "core/log.h": ["log", "start_up"],
    "core/log_file.h": ["log", "event_log"],
    "core/main.cpp": ["command_line", "start_up", "client"],
    "core/mutex.h": ["queue", "stress"],
    "core/network_info.cpp": ["start_up", "waiting"],
    "core/network_info.h": ["start_up"],
    "core/number_text.cpp": ["event_list", "expansion", "delays"],
    "core/number_text.h": ["event_list", "expansion", "delays"],
    "core/paths.h": ["settings_file", "mirrors", "event_list"],
    "core/process_setup.cpp": ["signals", "start_up", "log"],
    "core/process_setup.h": ["signals", "start_up", "log"],
    "core/process_state.h": ["start_up", "uptime", "power_on_window"],
    "core/published.h": ["event_list", "settings_file", "stress"],
    "core/sanitizers.h": ["senders"],
    "core/start_up.cpp": ["start_up", "log", "enable_switch", "signals"],
    "core/start_up.h": ["start_up", "log"],
    "core/supervision.cpp": ["uptime", "supervision", "settings_file", "power_on_window"],
    "core/supervision.h": ["uptime", "supervision"],
    "core/text_cut.h": ["expansion", "senders"],
    "core/time_units.h": ["delays", "waiting"],
    "core/unique_fd.h": ["start_up", "command_server"],
    "net/command_server.cpp": ["command_server", "command_handling", "descriptors"],
    "platform/json_token.h": ["user_config"],
    "platform/shell.cpp": ["command_handling", "user_config", "waiting"],
    "platform/shell.h": ["command_handling", "user_config"],
    "platform/token_text.cpp": ["user_config"],
    "platform/token_text.h": ["user_config"],
    "platform/token_text_none.cpp": [],
    "platform/user_config.cpp": ["user_config", "enable_switch"],
    "platform/user_config.h": ["user_config", "enable_switch"],
}
FOLDER_TESTS = {
    "settings": ["settings_file", "mirrors", "event_list", "enable_switch"],
    "events": ["event_list", "expansion", "status_variables", "lookup", "clock_macros"],
    "execution": ["executor", "queue", "delays", "event_log", "senders"],
    "net": ["command_server", "command_handling", "senders"],
}


def system_tests(file):
    return SYSTEM_TESTS.get(file) or FOLDER_TESTS.get(file.split("/")[0], [])


def own_suites(root, file):
    """The source's own test files, and those of its folder."""
    path = pathlib.Path(file)
    tests = pathlib.Path(root) / "tests" / path.parent
    own = [tests / f"{path.stem}{ending}.cpp" for ending in ("_test", "_world_test")]
    return [found for found in own if found.exists()], sorted(tests.glob("*_test.cpp"))


def patterns_of(files):
    """Names all the tests of some test files, as GoogleTest takes it."""
    suites = {suite for path in files
              for suite in re.findall(r"^TEST(?:_F|_P)?\((\w+),", path.read_text(), re.MULTILINE)}
    return [f"{form}{suite}.*" for suite in sorted(suites) for form in ("", "*/")]
