"""The options: what the program prints and ends with, and what starts the daemon."""

import pathlib
import re
import subprocess

import pytest

from event_log import log_without_times
from harness import DAEMON, EVENT_LOG, LOG, PID_FILE, SETTINGS, STATE, event, request, text_of, wait_until

USAGE = (
    b"ruvotcp 1.4.2-1\n"
    b"Usage: ruvotcp\n"
    b"\t-h | --help:\t\tShow help\n"
    b"\t-i | --ip:\t\tbinding ip, default is 127.0.0.1\n"
    b"\t-v :\t\t\t\tshow version\n"
    b"\t-p <n> | --port <n>:\tSet port number, default port=2700\n"
    b"\t-q | --qa:\t\tDisable all log messages\n"
    b"\t--qr:\t\t\tDisable the log messages on run ruvoevent\n"
    b"\t-s | --queue_size:\tmax events in queue, default is 1024\n"
    b"\t--client command:  run as ruvotcp_client command\n"
    b"\t--cmd setting-command:  send setting commandto ruvotcp\n"
)
VERSION = re.compile(
    rb"ruvotcpd-V1\.4\.2-1\.(\w+ Build:"
    rb" (?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\d \d{4} \d\d:\d\d:\d\d \+00:00\n)"
)
BIND = "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"


def assert_nothing_written():
    assert not PID_FILE.exists() and not LOG.exists() and not EVENT_LOG.exists()
    assert not SETTINGS.parent.exists()
    assert not list(pathlib.Path("/tmp").glob("ruvo_*"))


def assert_ends(device, arguments, output, diagnostics=b""):
    done = device.run_program(*arguments)
    assert (done.stdout, done.stderr, done.returncode) == (output, diagnostics, 0)
    assert_nothing_written()


def start_with_diagnostics(device, *arguments):
    """Starts the daemon, which must serve as ever; returns what it has written to standard error."""
    path = STATE / "diagnostics"
    with open(path, "wb") as diagnostics:
        device.start_daemon(*arguments, stderr=diagnostics)
    assert request(b"Lamp") == b"Event Disabled, skip Lamp"
    # The pid file is written by the process itself: this is no client run.
    assert PID_FILE.exists() and LOG.exists()
    return path.read_bytes()


def diagnostic(text):
    return f"{DAEMON}: {text}\n".encode()


def listening_sockets():
    lines = subprocess.run(["ss", "-Hltn"], capture_output=True, text=True, check=True).stdout
    return [line.split()[3] for line in lines.splitlines()]


# Texts.


@pytest.mark.parametrize("option", ["-h", "--help", "--he"])
def test_help_is_printed(bare_device, option):
    assert_ends(bare_device, [option], USAGE)


def test_the_version_is_printed(bare_device):
    done = bare_device.run_program("-v")
    assert VERSION.fullmatch(done.stdout), done.stdout
    assert (done.stderr, done.returncode) == (b"", 0)
    assert_nothing_written()


def test_the_version_is_that_of_the_start(bare_device):
    moment = VERSION.fullmatch(bare_device.run_program("-v").stdout)[1].decode()
    bare_device.start_daemon()
    assert text_of(LOG).startswith(f"ruvotcp V1.4.2-1.{moment}")


def test_the_first_of_two_texts_is_printed(bare_device):
    assert_ends(bare_device, ["-h", "-v"], USAGE)
    assert_ends(bare_device, ["-d", "-q", "--client", "X", "-p", "9", "-h", "-v"], USAGE)


def test_what_is_unknown_before_a_text_is_reported(bare_device):
    assert_ends(bare_device, ["-z", "-h"], USAGE, diagnostic("invalid option -- 'z'"))


def test_what_stands_behind_a_text_is_not_read(bare_device):
    assert_ends(bare_device, ["-h", "-z"], USAGE)


# What the daemon starts with all the same.


@pytest.mark.parametrize("arguments, text", [
    (["-z"], "invalid option -- 'z'"),
    (["--nothing"], "unrecognized option '--nothing'"),
    (["--version"], "unrecognized option '--version'"),
    (["-p"], "option requires an argument -- 'p'"),
    (["--port"], "option '--port' requires an argument"),
    (["--client"], "option '--client' requires an argument"),
    (["--cmd"], "option '--cmd' requires an argument"),
    (["--c", "X"], "option '--c' is ambiguous; possibilities: '--client' '--cmd'"),
    (["--qa=1"], "option '--qa' doesn't allow an argument"),
], ids=repr)
def test_what_is_unknown_or_incomplete_is_reported_and_the_daemon_starts(bare_device, arguments, text):
    assert start_with_diagnostics(bare_device, *arguments) == diagnostic(text)


def test_options_behind_an_unknown_one_count(bare_device):
    assert start_with_diagnostics(bare_device, "-z", "-d") == diagnostic("invalid option -- 'z'")
    daemon_output = text_of(STATE / "daemon0.out")
    assert "[renew_enable_event:700] enable event=0\n" in daemon_output


@pytest.mark.parametrize("arguments", [
    ["-p", "9999", "-s", "5", "-i", "192.0.2.10"],
    ["--port", "9999", "--queue_size=5", "--ip", "0.0.0.0"],
], ids=repr)
def test_port_queue_size_and_address_change_nothing(bare_device, arguments):
    assert start_with_diagnostics(bare_device, *arguments) == b""
    assert listening_sockets() == ["127.0.0.1:2700"]


def test_a_queue_size_bounds_no_queue(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=1))
    device.start_daemon("-s", "1")
    for _ in range(5):
        assert request(b"Lamp\n") == b"Lamp\n"
    receiver.wait_for(5)


@pytest.mark.parametrize("arguments", [["-q"], ["--qa"], ["--qr"], ["-q", "--qa", "--qr"]], ids=repr)
def test_no_level_silences_anything(device, arguments):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp")))
    daemon = device.start_daemon(*arguments)
    daemon.wait_for_supervision()
    assert request(b"Lamp\n") == b"Lamp\n"
    receiver.wait_for(1)
    for output in (daemon.output(), text_of(LOG)):
        assert output.startswith("ruvotcp V1.4.2-1.")
        assert BIND in output
        assert "[handle_tcp_event:1434] Recv[5]:key=Lamp\n,value=Lamp\n" in output
        assert "[handle_tcp_event:1461] send() Lamp\n\n" in output
    assert log_without_times(1) == f"{receiver.ip}:{receiver.port} UDP lamp\n"


def test_a_level_does_not_silence_debug_messages(bare_device):
    daemon = bare_device.start_daemon("-d", "--qa")
    assert "[renew_enable_event:700] enable event=0\n" in daemon.output()


# Client requests that are none.


@pytest.mark.parametrize("arguments", [
    ["--client", "X"],
    ["--client=getstatus"],
    ["--client", "getStatus "],
    ["--cmd", "X"],
    ["--cl", "X"],
    ["--cmd", "__SET__:network.ruvo.enable=1"],
    ["--client", "X", "-q", "-d"],
    ["--qa", "--client", "X"],
    ["--client", "X", "-p", "9999"],
    ["--client", "X" * 5000],
], ids=lambda arguments: " ".join(arguments)[:40])
def test_a_request_of_another_text_prints_nothing(bare_device, arguments):
    assert_ends(bare_device, arguments, b"")


@pytest.mark.parametrize("arguments", [
    ["--client", "X", "--qa"],
    ["--client", "X", "--qr"],
    ["--cmd", "X", "--qa"],
    ["--cmd", "X", "--cmd", ""],
    ["--client", ""],
    ["--cmd="],
], ids=repr)
def test_a_request_that_is_cleared_starts_the_daemon(bare_device, arguments):
    assert start_with_diagnostics(bare_device, *arguments) == b""


def test_a_client_beside_a_daemon_leaves_it_alone(bare_device):
    bare_device.start_daemon()
    wait_until(lambda: BIND in text_of(LOG), "the daemon has started")
    pid = text_of(PID_FILE)
    assert bare_device.run_program("--client", "X").returncode == 0
    assert text_of(PID_FILE) == pid
    assert text_of(LOG).count("ruvotcp V1.4.2-1.") == 1
