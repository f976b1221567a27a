"""Receivers that others wrote understand what the daemon sends."""

import re
import shutil
import socket
import subprocess

from harness import STATE, event, text_of, trigger, wait_until


def program(name, package):
    path = shutil.which(name, path="/usr/sbin:/usr/bin:/sbin:/bin")
    assert path, f"{name} is not installed: apt-get install --no-install-recommends {package}"
    return path


def redis(port, command):
    """Asks the server in its inline form; returns the reply's bytes."""
    with socket.create_connection(("127.0.0.1", port), timeout=20) as connection:
        connection.sendall(command + b"\r\n")
        return connection.recv(4096)


def start_redis(device, port):
    device.start(
        [program("redis-server", "redis-server"), "--port", port, "--bind", "127.0.0.1"]
        + ["--save", "", "--appendonly", "no", "--daemonize", "no", "--dir", STATE],
        stdout=subprocess.DEVNULL,
    )

    def answers():
        try:
            return redis(port, b"PING") == b"+PONG\r\n"
        except OSError:
            return False

    wait_until(answers, "the redis server answers")


def start_syslog_server(device, port):
    file = STATE / "syslog.txt"
    configuration = STATE / "rsyslog.conf"
    configuration.write_text(
        f'global(workDirectory="{STATE}")\n'
        'module(load="imudp")\n'
        f'input(type="imudp" address="127.0.0.1" port="{port}")\n'
        'template(name="line" type="string" string="%pri-text% %syslogtag%%msg%\\n")\n'
        f'action(type="omfile" file="{file}" template="line")\n'
    )
    device.start(
        [program("rsyslogd", "rsyslog"), "-n", "-f", configuration, "-i", STATE / "rsyslog.pid"],
        stdout=subprocess.DEVNULL,
    )
    listens = rf"0100007F:{port:04X} 00000000:0000 07"
    wait_until(lambda: re.search(listens, text_of("/proc/net/udp")), "the syslog server listens")
    return file


def test_a_syslog_server_writes_the_expanded_line(device):
    file = start_syslog_server(device, 5514)
    device.write_settings(
        event(
            "Lamp",
            ("127.0.0.1", 5514, "UDP", b"<134>ruvo: input={{input}} at {{date}}{{time}} up {{uptime}} s"),
        )
    )
    device.start_daemon()
    trigger("Lamp")
    wait_until(lambda: text_of(file).endswith("\n"), "the server writes a line")
    assert re.fullmatch(
        r"local0\.info ruvo: input=HDMI1 at \d{4}-\d\d-\d\d \d\d:\d\d:\d\d up \d+ s\n", text_of(file)
    ), text_of(file)


def test_a_syslog_server_writes_every_step_of_an_event(device):
    file = start_syslog_server(device, 5514)
    steps = [("127.0.0.1", 5514, "UDP", f"<13>ruvo: step {i}".encode(), 20) for i in range(20)]
    device.write_settings(event("Lamp", *steps))
    device.start_daemon()
    trigger("Lamp")
    wait_until(lambda: text_of(file).count("\n") == 20, "the server writes 20 lines")
    assert text_of(file) == "".join(f"user.notice ruvo: step {i}\n" for i in range(20))


def test_a_line_command_server_holds_what_the_events_set(device):
    start_redis(device, 6399)
    device.write_settings(
        event(
            "Lamp",
            ("127.0.0.1", 6399, "TCP", b"SET lamp on\\r\\n"),
            ("127.0.0.1", 6399, "TCP", b"SET input {{input}}\\r\\n", 50),
            ("127.0.0.1", 6399, "TCP", b'SET heat "{{temperature}}"\\r\\n', 50),
            ("127.0.0.1", 6399, "TCP", b"RPUSH order first\\r\\nRPUSH order second\\r\\n", 50),
        )
        + event("Off", ("127.0.0.1", 6399, "TCP", b"SET lamp off\\r\\n"))
    )
    device.start_daemon()
    trigger("Lamp")
    wait_until(lambda: redis(6399, b"LLEN order") == b":2\r\n", "the last step's command is served")
    assert redis(6399, b"GET lamp") == b"$2\r\non\r\n"
    assert redis(6399, b"GET input") == b"$5\r\nHDMI1\r\n"
    assert redis(6399, b"GET heat") == b"$4\r\n38 C\r\n"
    assert redis(6399, b"LRANGE order 0 -1") == b"*2\r\n$5\r\nfirst\r\n$6\r\nsecond\r\n"
    trigger("Off")
    wait_until(lambda: redis(6399, b"GET lamp") == b"$3\r\noff\r\n", "the second event sets its value")


def test_a_line_command_server_takes_a_status_report_for_what_it_is(bare_device):
    """The report goes out instead of the data: here it is a command itself."""
    bare_device.enable()
    bare_device.status_items("SET report:arrived\nb:2\nc:3\nd:4\ne:5\nf:6\n")
    bare_device.start_status_service()
    start_redis(bare_device, 6399)
    bare_device.write_settings(event("Lamp", ("127.0.0.1", 6399, "StatusTCP", b"")))
    daemon = bare_device.start_daemon()
    trigger("Lamp")
    # Its lines end in carriage returns alone, so the server waits for more and answers nothing.
    trigger("Lamp")
    assert daemon.running()
    assert redis(6399, b"KEYS *") == b"*0\r\n"
