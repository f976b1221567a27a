"""From the version line to the two threads: what the daemon does before it waits for anything."""

import errno
import os
import re
import signal
import socket
import subprocess
import time

import pytest

from fault_orders import LIBRARY, CallOrders
from harness import (
    COMMAND_PORT, DEVKIT, EVENT_LIST, LOG, PID_FILE, SETTINGS, STATE, command_port_listens, event, request,
    text_of, touch, wait_until,
)

SILENT_TOOL = '[ "$1" = get ] && echo true\nexit 0\n'
RUVO_FOLDER = SETTINGS.parent
VERSION_LINE = re.compile(
    r"ruvotcp V1\.4\.2-1\.\w+ Build:"
    r" (?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 0123]\d \d{4} \d\d:\d\d:\d\d \+00:00\n"
)


def without_version(text):
    """The text behind the version line, which must come first; start-up's waiting is left out."""
    version = VERSION_LINE.match(text)
    assert version, f"no version line at the start of {text[:200]!r}"
    return re.sub(r"\[main:1959\] wait getStatus\.\.\.\d+\n", "", text[version.end() :])


def wait_for_bind(daemon):
    daemon.wait_for_output(re.escape("[handle_tcp_event:1382] bind 127.0.0.1:2700\n"))


def test_the_log_begins_with_the_version_line(bare_device):
    bare_device.start_daemon()
    assert VERSION_LINE.match(text_of(LOG))


def test_the_version_line_and_the_pid_file_come_before_the_user_configuration(bare_device):
    os.mkfifo(STATE / "gate")
    bare_device.replace_tool("cat /tmp/device/gate\n")
    daemon = bare_device.start_daemon(wait=False)
    daemon.wait_for_output(VERSION_LINE.pattern)
    wait_until(lambda: text_of(PID_FILE), "the pid file is written")
    assert "create /var/run/ruvotcp.pid" not in daemon.output()
    bare_device.replace_tool(SILENT_TOOL)
    bare_device.start(["sh", "-c", ": > /tmp/device/gate"])
    wait_for_bind(daemon)


def test_the_messages_come_in_order(bare_device):
    bare_device.replace_tool(SILENT_TOOL)
    bare_device.write_settings("PowerOnCount=0\n")
    daemon = bare_device.start_daemon()
    wait_for_bind(daemon)
    assert without_version(text_of(LOG)) == (
        f"[main:1924] create /var/run/ruvotcp.pid={daemon.pid}\n"
        "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
        "[main:1931] ip=192.0.2.10\n"
        "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
    )


def test_missing_settings_are_reported_before_the_event_list_is_built(bare_device):
    bare_device.replace_tool(SILENT_TOOL)
    daemon = bare_device.start_daemon()
    wait_for_bind(daemon)
    assert without_version(text_of(LOG)) == (
        f"[main:1924] create /var/run/ruvotcp.pid={daemon.pid}\n"
        "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n"
        "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
        "[main:1931] ip=192.0.2.10\n"
        "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
    )


def test_standard_output_of_a_first_start_is_the_log(bare_device):
    bare_device.replace_tool(SILENT_TOOL)
    daemon = bare_device.start_daemon()
    wait_for_bind(daemon)
    assert without_version(daemon.output()) == without_version(text_of(LOG))


def test_each_folder_that_exists_already_costs_an_empty_line(bare_device):
    bare_device.replace_tool(SILENT_TOOL)
    (RUVO_FOLDER / "config").mkdir(parents=True)
    (RUVO_FOLDER / "tmp").mkdir()
    bare_device.write_settings("")
    daemon = bare_device.start_daemon()
    wait_for_bind(daemon)
    assert without_version(daemon.output()) == (
        "\n\n\n"
        f"[main:1924] create /var/run/ruvotcp.pid={daemon.pid}\n"
        "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
        "[main:1931] ip=192.0.2.10\n"
        "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
    )


def test_the_folders_are_made(bare_device):
    bare_device.start_daemon()
    assert {path.name for path in RUVO_FOLDER.iterdir() if path.is_dir()} == {"config", "tmp"}


def test_folders_that_exist_keep_what_they_hold(bare_device):
    bare_device.write_settings("kept\n", RUVO_FOLDER / "config" / "file")
    bare_device.start_daemon()
    assert text_of(RUVO_FOLDER / "config" / "file") == "kept\n"


def test_the_pid_file_holds_the_process_id(bare_device):
    daemon = bare_device.start_daemon()
    assert text_of(PID_FILE) == f"{daemon.pid}\n"


def test_an_old_pid_file_is_replaced(bare_device):
    bare_device.write_settings("an old and much longer text\n", PID_FILE)
    daemon = bare_device.start_daemon()
    assert text_of(PID_FILE) == f"{daemon.pid}\n"


def test_the_pid_file_stays_when_the_daemon_ends(bare_device):
    daemon = bare_device.start_daemon()
    daemon.stop()
    assert text_of(PID_FILE) == f"{daemon.pid}\n"


def test_the_import_key_is_set_to_false(bare_device):
    bare_device.configure("network.ruvo.import", True)
    bare_device.start_daemon()
    answer = subprocess.run(
        [DEVKIT / "userconfigtool", "get", "boolean", "network.ruvo.import=true"],
        env=bare_device.environment, stdout=subprocess.PIPE, check=True,
    )
    assert answer.stdout == b"false\n"


def test_the_user_configuration_is_asked_by_the_context_and_by_the_reader(bare_device):
    bare_device.replace_tool('echo "$*" >> /tmp/device/calls\n')
    bare_device.start_daemon()
    assert text_of(STATE / "calls") == (
        "set boolean network.ruvo.import=false\n"
        "get boolean network.ruvo.enable=false\n"
        "get boolean network.ruvo.enable=false\n"
    )


def test_the_queue_s_clock_starts_before_the_switch_is_asked(bare_device):
    os.mkfifo(STATE / "gate")
    bare_device.replace_tool(
        '[ "$1" = get ] || exit 0\n'
        "[ -e /tmp/device/asked ] || { echo > /tmp/device/asked; cat /tmp/device/gate; }\n"
        "echo true\n"
    )
    bare_device.write_settings("LampCount=1\nLampProtocol0=none\n")
    daemon = bare_device.start_daemon("-d", wait=False)
    wait_until((STATE / "asked").exists, "the switch is asked")
    asked_s = time.monotonic()
    wait_until(lambda: time.monotonic() > asked_s + 0.6, "longer than an event waits for the queue")
    bare_device.start(["sh", "-c", ": > /tmp/device/gate"])
    wait_until(command_port_listens, "the command port listens")
    triggered_s = time.monotonic()
    assert request(b"Lamp\n") == b"Lamp\n"
    [line] = daemon.wait_for_output(r"\[exec_event:819\] .*, now=(\d+), t_exec=")
    assert int(line[1]) >= (triggered_s - asked_s) * 1e9


def test_the_settings_are_read_before_the_command_port_opens(bare_device):
    bare_device.write_settings(event("Lamp", ("192.0.2.1", 9, "UDP", b"on")))
    bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == b"Lamp;Lamp;0:on:0;Delay=0;\n"


def test_without_any_tools_it_starts_disabled(bare_device):
    bare_device.write_settings("")
    bare_device.start_daemon(environment={"PATH": "/nowhere"})
    assert request(b"Lamp\n") == b"Event Disabled, skip Lamp\n"


def test_commands_that_fail_are_told_on_standard_output_only_with_debug(bare_device):
    PID_FILE.mkdir()
    bare_device.write_settings("")
    daemon = bare_device.start_daemon("-d", environment={"PATH": "/nowhere"})
    # What comes before is an empty line for each folder.
    assert without_version(daemon.output()).split("[main:1924]")[0] == (
        "\n\n\n"
        f"[_system:156] Error: run echo {daemon.pid} > /var/run/ruvotcp.pid\n"
        "[_system:156] Error: run userconfigtool set boolean network.ruvo.import=false\n"
    )
    assert daemon.output().count("[_system:156]") == 2
    assert "_system" not in text_of(LOG)


def test_commands_that_fail_are_silent_without_debug(bare_device):
    PID_FILE.mkdir()
    bare_device.write_settings("")
    daemon = bare_device.start_daemon(environment={"PATH": "/nowhere"})
    wait_for_bind(daemon)
    assert "_system" not in daemon.output()


def test_a_folder_that_cannot_be_made_is_no_failed_command(bare_device):
    daemon = bare_device.start_daemon("-d", environment={"PATH": "/nowhere"})
    wait_for_bind(daemon)
    assert "mkdir" not in daemon.output()
    assert not RUVO_FOLDER.exists()


@pytest.mark.parametrize("which, thread", [(1, "handle_tcp_event"), (2, "handle_q_event")])
def test_a_thread_that_cannot_start_ends_the_daemon_with_status_1(bare_device, which, thread):
    daemon = bare_device.start_daemon(
        wait=False, preload=["fail_pthread_create.so"], environment={"RUVO_FAIL_PTHREAD_CREATE": str(which)}
    )
    assert daemon.wait_for_end() == 1
    message = f"Error: pthread_create {thread}(): Resource temporarily unavailable\n"
    assert daemon.output().count(message) == 1
    assert text_of(LOG).count(message) == 1
    assert text_of(PID_FILE) == f"{daemon.pid}\n"


def test_a_start_without_memory_ends_with_status_1(bare_device):
    # The table of the senders is the first thing that is large.
    CallOrders(bare_device).fail("big_allocation", errno.ENOMEM)
    daemon = bare_device.start_daemon(wait=False, preload=[LIBRARY, "fail_big_allocations.so"])
    assert daemon.wait_for_end() == 1
    message = "Error: [main:1918] start-up: std::bad_alloc\n"
    assert daemon.output().count(message) == 1
    assert text_of(LOG).count(message) == 1


def test_both_threads_have_default_attributes(bare_device):
    starts = STATE / "thread_starts"
    bare_device.start_daemon(
        preload=["fail_pthread_create.so"], environment={"RUVO_PTHREAD_CREATE_LOG": str(starts)}
    )
    wait_until(lambda: text_of(starts).count("\n") >= 2, "both threads have started")
    assert text_of(starts) == "default\ndefault\n"


def test_an_interface_list_that_cannot_be_read_is_reported(bare_device):
    bare_device.replace_tool(SILENT_TOOL)
    bare_device.write_settings("")
    daemon = bare_device.start_daemon(
        preload=["fail_getifaddrs.so"], environment={"RUVO_FAIL_GETIFADDRS": "1"}
    )
    wait_for_bind(daemon)
    lines = without_version(text_of(LOG)).splitlines()
    assert lines[1] == "[renew_network_info:648] Cannot get ether net info"
    assert lines[2] == "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK"
    assert lines[3] == "[main:1931] ip="


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_signal_ends_the_daemon(bare_device, number):
    daemon = bare_device.start_daemon()
    assert daemon.stop(number) == -number


def test_a_standard_output_whose_reader_is_gone_does_not_end_the_daemon(device):
    reading, writing = os.pipe()
    device.start_daemon(stdout=writing)
    os.close(writing)
    os.close(reading)
    assert request(b"Lamp\n") == b"Lamp\n"
    assert request(b"Lamp\n") == b"Lamp\n"
    assert text_of(LOG).count("[handle_tcp_event:1461] send() Lamp\n") == 2


def test_a_full_standard_output_does_not_end_the_daemon(device):
    with open("/dev/full", "wb") as full:
        device.start_daemon(stdout=full)
    assert request(b"Lamp\n") == b"Lamp\n"
    assert "[handle_tcp_event:1461] send() Lamp\n" in text_of(LOG)


def test_shell_commands_do_not_ignore_a_broken_pipe(bare_device):
    bare_device.replace_tool("grep SigIgn /proc/$$/status > /tmp/device/ignored\n")
    bare_device.start_daemon()
    ignored = int(text_of(STATE / "ignored").split()[1], 16)
    assert ignored & (1 << (signal.SIGPIPE - 1)) == 0


def test_shell_commands_inherit_no_descriptors(bare_device):
    bare_device.start_status_service()
    bare_device.replace_tool("exec ls -l /proc/self/fd > /tmp/device/open\n")
    daemon = bare_device.start_daemon()
    daemon.wait_for_supervision()
    with socket.create_connection(("127.0.0.1", COMMAND_PORT)):
        assert request(b"Lamp") == b"Event Disabled, skip Lamp"
        touch()
        daemon.wait_for_reloads(2)
    links = re.findall(r" (\d+) -> (.*)", text_of(STATE / "open"))
    # The listing itself holds the folder that it lists.
    assert sorted(number for number, target in links if not target.endswith("/fd")) == ["0", "1", "2"]
