"""Signals end the daemon or do nothing, and shell commands start with their defaults."""

import os
import signal
import threading
import time

import pytest
from harness import STATE, event, request, text_of, trigger
from process import change_settings, hold

LAMP = event("Lamp", ("1.2.3.4", "5", "none", b"on"))


def signal_set(pid, field):
    for line in text_of(f"/proc/{pid}/status").splitlines():
        if line.startswith(f"{field}:"):
            mask = int(line.split()[1], 16)
            return {number for number in range(1, 65) if mask & (1 << (number - 1))}
    raise AssertionError(f"no {field} for {pid}")


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP], ids=lambda s: s.name)
def test_a_signal_ends_the_daemon(device, number):
    device.write_settings(LAMP)
    # What the test's own parent ignores the daemon would ignore as well.
    daemon = device.start_daemon(preexec_fn=lambda: signal.signal(number, signal.SIG_DFL))
    assert daemon.stop(number) == -number


def test_sigpipe_is_caught_and_not_ignored(device):
    device.write_settings(LAMP)
    daemon = device.start_daemon()
    assert signal.SIGPIPE not in signal_set(daemon.pid, "SigIgn")
    caught = signal_set(daemon.pid, "SigCgt")
    assert signal.SIGPIPE in caught
    assert not caught & {signal.SIGINT, signal.SIGHUP}


def test_shell_commands_start_without_ignored_or_blocked_signals(device):
    device.write_settings(LAMP)
    device.replace_tool("cat /proc/self/status >/tmp/device/status_of_tool\necho true\n")
    device.start_daemon()
    change_settings()
    for field in ("SigIgn", "SigBlk", "SigCgt"):
        [line] = [line for line in text_of(STATE / "status_of_tool").splitlines() if line.startswith(field)]
        mask = int(line.split()[1], 16)
        assert not mask & (1 << (signal.SIGPIPE - 1)), line


def test_a_storm_of_signals_disturbs_nothing(device):
    receiver = device.udp_receiver()
    tcp = device.tcp_receiver(reply=b"OK")
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "UDP", b"{{input}}"), (tcp.ip, tcp.port, "TCP", b"on"))
    )
    daemon = device.start_daemon()
    change_settings()
    stop = threading.Event()

    def storm():
        while not stop.is_set():
            os.kill(daemon.pid, signal.SIGPIPE)
            time.sleep(0.001)

    threads = [threading.Thread(target=storm) for _ in range(2)]
    for thread in threads:
        thread.start()
    try:
        for count in range(20):
            trigger("Lamp")
            tcp.wait_for(count + 1)
        change_settings()
        arrivals = receiver.wait_for(20)
    finally:
        stop.set()
        for thread in threads:
            thread.join()
    assert {arrival.data for arrival in arrivals} == {b"HDMI1"}
    assert [arrival.data for arrival in tcp.arrivals] == [b"on"] * 20
    for text in ("select()", "Recv():", "accept()", "Interrupted"):
        assert text not in daemon.output()


def test_a_daemon_that_was_stopped_goes_on_where_it_was(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=1))
    daemon = device.start_daemon()
    trigger("Lamp")
    hold(daemon.pid)
    os.kill(daemon.pid, signal.SIGCONT)
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert request(b"Lamp\n") == b"Lamp\n"
