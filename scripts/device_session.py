"""A device of its own, inside the private world that a script has made."""

import json
import pathlib
import re
import subprocess
import sys
import threading
import time

DEADLINE_S = 5


def wait_until(condition, deadline_s=DEADLINE_S):
    end = time.monotonic() + deadline_s
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True


class Arrivals:
    """What the receiver prints, as it comes."""

    def __init__(self, stream):
        self.items = []
        self.trigger_ns = time.monotonic_ns()
        self._stream = stream
        threading.Thread(target=self._run, daemon=True).start()

    def _run(self):
        for line in self._stream:
            arrival = json.loads(line)
            self._print(arrival)
            self.items.append(arrival)

    def _print(self, arrival):
        after_ms = (arrival["time_ns"] - self.trigger_ns) / 1e6
        print(f"    {arrival['protocol'].upper()} to {arrival['to']:<20} +{after_ms:8.1f} ms")
        print(f"        hex  {arrival['hex']}")
        print(f"        text {arrival['text']}", flush=True)


def start(command, **options):
    return subprocess.Popen([str(word) for word in command], **options)


def write_settings(name, text):
    path = pathlib.Path("/mnt/configs/ruvo") / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(text)


def start_receiver(devkit, udp_ports, tcp_ports):
    """Receives what is sent to these ports of any address."""
    listen = [word for port in udp_ports for word in ("--udp", f"0.0.0.0:{port}")]
    listen += [word for port in tcp_ports for word in ("--tcp", f"0.0.0.0:{port}")]
    receiver = start(
        [devkit / "ruvo-receiver", "--json", "--reply", "OK\\r\\n", *listen],
        stdout=subprocess.PIPE,
    )
    receiver.stdout.readline()
    return Arrivals(receiver.stdout)


def start_status_service(devkit, items):
    """Answers with these items, a line name:value each."""
    path = pathlib.Path("/tmp/status_items.txt")
    path.write_bytes(items)
    service = start([devkit / "ruvo-status-service", "--items", path], stdout=subprocess.PIPE)
    service.stdout.readline()


def start_daemon(command):
    """Starts ruvotcpd; returns once it has measured its uptime and answers."""
    daemon = start(command, stdout=subprocess.PIPE)
    log = pathlib.Path("/var/log/ruvo.log")
    listening = re.compile(r"0100007F:0A8C 00000000:0000 0A")
    ready = wait_until(
        lambda: listening.search(pathlib.Path("/proc/net/tcp").read_text())
        and pathlib.Path("/tmp/ruvo_var.txt").exists()
        and b"=" in pathlib.Path("/tmp/ruvo_var.txt").read_bytes()
    )
    if not ready:
        print(log.read_text() if log.exists() else "the daemon has written no log")
        sys.exit("the daemon did not come up")
    threading.Thread(target=lambda: daemon.stdout.read(), daemon=True).start()


def send_request(text):
    """One connection, one request, one reply, as an installer would do it by hand."""
    shell = "printf '%s\\n' \"$1\" | nc -w 5 127.0.0.1 2700"
    done = subprocess.run(["sh", "-c", shell, "sh", text.decode()], stdout=subprocess.PIPE)
    return done.stdout


def event_log():
    log = pathlib.Path("/var/log/ruvoevent.log")
    return log.read_bytes() if log.exists() else b""


def show(title, path):
    print(f"\n{title}: {path}")
    for line in pathlib.Path(path).read_bytes().split(b"\n")[:-1]:
        print("    " + line.decode("latin-1").replace("\r", "\\r"))
