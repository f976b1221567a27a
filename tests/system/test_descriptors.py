"""Descriptors: none is inherited by shell commands, none runs out for good."""

import os
import re
import resource
import signal
import socket
import threading
import time

from harness import (
    ASC_MIRROR,
    COMMAND_PORT,
    EVENT_LIST,
    EVENT_LOG,
    HEX_MIRROR,
    LOG,
    SETTINGS,
    STATE,
    VARIABLES,
    event,
    request,
    text_of,
    trigger,
    wait_until,
)
from process import change_settings, closes_on_exec, cpu_seconds, descriptors, hold

NO_DESCRIPTOR_LEFT = "Error: [handle_tcp_event:1410] accept(): Too many open files\n"
LAMP = event("Lamp", ("1.2.3.4", "5", "none", b"on"))


def connect():
    return socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=20)


def is_open(connection):
    """False once the other side has closed; the connection has nothing to say meanwhile."""
    connection.setblocking(False)
    try:
        return connection.recv(1) != b""
    except BlockingIOError:
        return True
    except ConnectionResetError:
        return False
    finally:
        connection.settimeout(20)


def read_to_end(connection):
    data = b""
    while chunk := connection.recv(4096):
        data += chunk
    return data


def limit_descriptors(pid, count):
    resource.prlimit(pid, resource.RLIMIT_NOFILE, (count, 20000))


# What shell commands inherit.


def test_shell_commands_inherit_no_descriptor(device):
    """With sockets of every kind open: the port, silent clients, a sender that waits for its peer."""
    peer = device.tcp_receiver(silent=True)
    device.write_settings(event("Lamp", (peer.ip, peer.port, "TCP", b"on")))
    for tool in ("timeout", "userconfigtool"):
        real = "/usr/bin/timeout" if tool == "timeout" else f"{os.environ['RUVO_DEVKIT_DIR']}/userconfigtool"
        device.replace_tool(f'ls -l /proc/$$/fd >>/tmp/device/seen_by_{tool}\nexec {real} "$@"\n', tool)
    device.start_daemon()
    silent = [connect() for _ in range(3)]
    trigger("Lamp")
    peer.wait_for(1)
    seen = [STATE / "seen_by_timeout", STATE / "seen_by_userconfigtool"]
    for path in seen:
        path.write_text("")
    trigger("Lamp")
    change_settings()
    for path in seen:
        seen_there = [(int(number), to) for number, to in re.findall(r" (\d+) -> (.*)\n", path.read_text())]
        assert {0, 1, 2} <= {number for number, _ in seen_there}
        # At 10 and above the shell keeps its script and the output it has redirected.
        assert [pair for pair in seen_there if 2 < pair[0] < 10 or pair[1].startswith("socket:")] == []
    for connection in silent:
        connection.close()


def test_every_descriptor_closes_on_exec(device):
    udp, tcp = device.udp_receiver(), device.tcp_receiver(reply=b"OK")
    device.write_settings(
        event(
            "Lamp",
            (udp.ip, udp.port, "UDP", b"on"),
            (tcp.ip, tcp.port, "TCP", b"on"),
            (udp.ip, udp.port, "StatusUDP", b""),
            (tcp.ip, tcp.port, "StatusTCP", b""),
        )
    )
    daemon = device.start_daemon()
    inherited, kinds = [], set()
    stop = threading.Event()

    def look():
        while not stop.is_set():
            for number, target in descriptors(daemon.pid).items():
                kinds.add(target.split(":")[0])
                if number > 2 and closes_on_exec(daemon.pid, number) is False:
                    inherited.append((number, target))

    observer = threading.Thread(target=look)
    observer.start()
    for count in range(10):
        trigger("Lamp")
        tcp.wait_for(2 * count + 2)
    change_settings()
    stop.set()
    observer.join()
    assert inherited == []
    assert {"socket", "pipe"} <= kinds, "the shell commands' pipes were seen as well"


def test_every_file_closes_on_exec(device):
    device.write_settings(event("Lamp", ("127.0.0.1", "1", "TCP", b"on")))
    opened = STATE / "opened"
    device.start_daemon(preload=["record_opens.so"], environment={"RUVO_OPENED": str(opened)})
    trigger("Lamp")
    change_settings()
    for path in (LOG, EVENT_LOG, VARIABLES, SETTINGS, ASC_MIRROR, HEX_MIRROR, EVENT_LIST):
        wait_until(lambda: f"closes {path}\n" in text_of(opened), f"the daemon opens {path}")
        assert f"stays {path}\n" not in text_of(opened)


# What is there when the daemon starts.


def test_the_daemon_works_without_a_standard_input(device):
    udp, tcp = device.udp_receiver(), device.tcp_receiver(reply=b"OK")
    device.write_settings(
        event(
            "Lamp",
            (udp.ip, udp.port, "UDP", b"input is {{input}}"),
            (tcp.ip, tcp.port, "TCP", b"on"),
            (udp.ip, udp.port, "StatusUDP", b"", 100),
        )
    )
    daemon = device.start_daemon(stdin=None, preexec_fn=lambda: os.close(0))
    for count in (1, 2, 3):
        trigger("Lamp")
        tcp.wait_for(count)
        assert [arrival.data[:6] for arrival in udp.wait_for(2 * count)] == [b"input ", b"model:"] * count
    change_settings()
    assert daemon.running()


def test_a_standard_output_that_nobody_reads_any_more_does_not_end_the_daemon(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp")))
    read_end, write_end = os.pipe()
    daemon = device.start_daemon(stdout=write_end)
    os.close(write_end)
    os.close(read_end)
    for count in (1, 2, 3):
        trigger("Lamp")
        receiver.wait_for(count)
    change_settings()
    assert daemon.running()
    line = "[handle_tcp_event:1461] send() Lamp\n\n"
    assert text_of(LOG).count(line) == 3, "the log file still gets every line"


# When they run out.


def fill_up(daemon, most=40):
    """Opens silent connections until the daemon has no descriptor left; returns them all."""
    silent = []
    while NO_DESCRIPTOR_LEFT not in daemon.output():
        assert len(silent) < most, "the limit was not reached"
        silent.append(connect())
        expected = len(silent)
        wait_until(
            lambda: NO_DESCRIPTOR_LEFT in daemon.output() or accepted(daemon) >= expected,
            "the connection is accepted",
        )
    # The one that found no descriptor has taken the place of the first.
    wait_until(lambda: not is_open(silent[0]), "the first connection is closed")
    wait_until(lambda: accepted(daemon) == len(silent) - 1, "the last connection is accepted")
    return silent


def accepted(daemon):
    """Connections that the daemon holds; the listening socket is the one more."""
    return len([to for to in descriptors(daemon.pid).values() if to.startswith("socket:")]) - 1


def test_the_connection_that_is_silent_longest_makes_room(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp")))
    daemon = device.start_daemon()
    wait_until(lambda: text_of(VARIABLES), "the start-up has asked the status service")
    change_settings()
    limit_descriptors(daemon.pid, 24)
    silent = fill_up(daemon)
    assert [is_open(connection) for connection in silent] == [False] + [True] * (len(silent) - 1)

    for closed in (2, 3, 4):
        silent.append(connect())
        wait_until(lambda: not is_open(silent[closed - 1]), "the next one is closed")
        assert [is_open(c) for c in silent] == [False] * closed + [True] * (len(silent) - closed)

    # Nothing is lost for good: a client is served, and served completely once there is room.
    assert request(b"Nobody\n") == b"Nobody\n"
    for connection in silent:
        connection.close()
    wait_until(lambda: accepted(daemon) == 0, "all connections are forgotten")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert daemon.output().count(NO_DESCRIPTOR_LEFT) == 5, "one line for each failed accept"


def test_a_connection_that_has_something_to_say_is_not_closed_for_another(device):
    device.write_settings(LAMP)
    daemon = device.start_daemon()
    change_settings()
    # Descriptors are looked at in their order: only those above the listening
    # socket's are still unread when it turns out that no connection can be accepted.
    [listening] = [number for number, to in descriptors(daemon.pid).items() if to.startswith("socket:")]
    below = listening - 3
    limit_descriptors(daemon.pid, 24)
    silent = fill_up(daemon)
    for closed in range(1, 1 + below):
        silent.append(connect())
        wait_until(lambda: not is_open(silent[closed]), "the next one is closed")
        wait_until(lambda: accepted(daemon) == 20, "the new one is accepted")
    speaker, next_silent = silent[1 + below], silent[2 + below]
    hold(daemon.pid)
    speaker.sendall(b"Lamp\n")
    newcomer = connect()
    os.kill(daemon.pid, signal.SIGCONT)
    assert read_to_end(speaker) == b"Lamp\n"
    wait_until(lambda: not is_open(next_silent), "the longest silent one without a request is closed")
    assert all(is_open(connection) for connection in silent[3 + below :])
    newcomer.sendall(b"Hall\n")
    assert read_to_end(newcomer) == b"Hall\n"
    for connection in silent:
        connection.close()


def test_the_daemon_does_not_spin_while_it_cannot_accept(device):
    device.write_settings(LAMP)
    daemon = device.start_daemon()
    change_settings()
    limit_descriptors(daemon.pid, 3)
    connection = connect()
    connection.sendall(b"Lamp\n")
    daemon.wait_for_output(re.escape(NO_DESCRIPTOR_LEFT))
    before, start = cpu_seconds(daemon.pid), time.monotonic()
    # The measurement takes this long; the daemon would use up all of it.
    time.sleep(2)
    used, passed = cpu_seconds(daemon.pid) - before, time.monotonic() - start
    assert used < 0.25 * passed
    assert daemon.output().count(NO_DESCRIPTOR_LEFT) <= 10 * passed + 2
    limit_descriptors(daemon.pid, 1024)
    assert read_to_end(connection) == b"Lamp\n"
    connection.close()
    trigger("Lamp")


def test_a_silent_connection_that_closes_while_none_can_be_accepted_is_noticed(device):
    device.write_settings(LAMP)
    daemon = device.start_daemon()
    change_settings()
    limit_descriptors(daemon.pid, 24)
    silent = fill_up(daemon)
    for connection in silent[3:]:
        connection.close()
    wait_until(lambda: accepted(daemon) == 2, "the closed ones are forgotten")
    assert is_open(silent[1]) and is_open(silent[2])
    trigger("Lamp")
    silent[1].close()
    silent[2].close()


def test_a_descriptor_beyond_the_set_s_size_never_enters_it(device):
    receiver = device.udp_receiver()
    resource.setrlimit(resource.RLIMIT_NOFILE, (4096, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=6))
    daemon = device.start_daemon()
    change_settings()
    limit_descriptors(daemon.pid, 4096)
    trigger("Lamp")
    silent = []
    for _ in range(110):
        silent += [connect() for _ in range(10)]
        expected = min(len(silent), 1020)
        wait_until(lambda: accepted(daemon) >= expected, "the backlog is accepted")
    # Four descriptors of the set's 1024 are the three standard ones and the listening socket.
    wait_until(lambda: not any(is_open(one) for one in silent[:80]), "the 80 oldest are closed")
    assert all(is_open(one) for one in silent[80:])
    wait_until(lambda: max(descriptors(daemon.pid)) < 1024, "no descriptor beyond the set stays open")
    wait_until(lambda: request(b"Nobody\n") == b"Nobody\n", "a client is served all the same")
    # Events that are queued still run, with sockets beyond the set.
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    for connection in silent:
        connection.close()
    wait_until(lambda: accepted(daemon) == 0, "all connections are forgotten")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"lamp", b"lamp"]
