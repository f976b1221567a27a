"""The demonstration, inside the private world that scripts/demo makes."""

import json
import os
import pathlib
import re
import subprocess
import sys
import threading
import time

BUILD = pathlib.Path(sys.argv[1]).resolve()
DEVKIT = BUILD / "devkit"
DAEMON = BUILD / "core" / "ruvotcpd"
KEEP = "--keep" in sys.argv
SUPPRESS_ONE = "--suppress-one" in sys.argv
DEADLINE_S = 5

STATUS_ITEMS = b"""\
model:AV-100
input:HDMI1
power:on
volume:42
mute:off
temperature:38
serial:0042
"""

# Data is hexadecimal in the settings; comments say what it stands for.
SETTINGS = b"""\
PowerOnCount=2
PowerOnDelay=0
PowerOnIP0=10.1.2.3
PowerOnPort0=5000
PowerOnProtocol0=UDP
PowerOnData0=7B7B646174657D7D7B7B74696D657D7D20757020\
7B7B757074696D657D7D20732C206F6E207B7B696E7075747D7D5C725C6E
PowerOnIP1=203.0.113.7
PowerOnPort1=6000
PowerOnProtocol1=TCP
PowerOnData1=504F574552207B7B6D6F64656C7D7D207B7B646174657D7D\
7B7B74696D657D7D207B7B757074696D657D7D5C725C6E
SequenceCount=4
SequenceIP0=10.1.2.3
SequencePort0=5000
SequenceProtocol0=UDP
SequenceData0=73637265656E20646F776E
SequenceDelay0=0
SequenceIP1=10.1.2.3
SequencePort1=5000
SequenceProtocol1=UDP
SequenceData1=70726F6A6563746F72206F6E
SequenceDelay1=250
SequenceIP2=203.0.113.7
SequencePort2=6000
SequenceProtocol2=TCP
SequenceData2=696E7075742048444D4931
SequenceDelay2=400
SequenceIP3=10.1.2.3
SequencePort3=5000
SequenceProtocol3=UDP
SequenceData3=6C6967687473206F6666
SequenceDelay3=150
StatusReportCount=2
StatusReportXMLfield=Report
StatusReportIP0=198.51.100.9
StatusReportPort0=6000
StatusReportProtocol0=TCPStatus
StatusReportIP1=198.51.100.9
StatusReportPort1=5000
StatusReportProtocol1=UDPStatus
DVIConnectedCount=1
DVIConnectedIP0=10.1.2.3
DVIConnectedPort0=5000
DVIConnectedProtocol0=UDP
DVIConnectedData0=646973706C617920706C7567676564
"""

SUPPRESSED_LINE = b"SequenceProtocol1=UDP\n"
NOW = rb"\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}"
REPORT = (
    b"model:AV-100\rinput:HDMI1\rpower:on\rvolume:42\rmute:off\rtemperature:38\rserial:0042\r"
)

# Trigger, and what must arrive: destination, protocol, bytes, milliseconds after the
# event's first message (None: no delay configured, not compared).
EVENTS = [
    (
        b"Sequence\n",
        [
            ("10.1.2.3:5000", "udp", rb"screen down", 0),
            ("10.1.2.3:5000", "udp", rb"projector on", 250),
            ("203.0.113.7:6000", "tcp", rb"input HDMI1", 650),
            ("10.1.2.3:5000", "udp", rb"lights off", 800),
        ],
    ),
    (
        b"PowerOn\n",
        [
            ("10.1.2.3:5000", "udp", NOW + rb" up [4-9]\d s, on HDMI1\r\n", None),
            ("203.0.113.7:6000", "tcp", rb"POWER AV-100 " + NOW + rb" [4-9]\d\r\n", None),
        ],
    ),
    (
        b"Report\n",
        [
            ("198.51.100.9:6000", "tcp", re.escape(REPORT), None),
            ("198.51.100.9:5000", "udp", re.escape(REPORT), None),
        ],
    ),
    (b"DVIConnected\n", []),
]


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


def start_device():
    items = pathlib.Path("/tmp/status_items.txt")
    items.write_bytes(STATUS_ITEMS)
    service = start([DEVKIT / "ruvo-status-service", "--items", items], stdout=subprocess.PIPE)
    service.stdout.readline()
    subprocess.run([DEVKIT / "userconfigtool", "set", "boolean", "network.ruvo.enable=true"], check=True)
    settings = pathlib.Path("/mnt/configs/ruvo/ruvo.txt")
    settings.parent.mkdir(parents=True, exist_ok=True)
    settings.write_bytes(SETTINGS.replace(SUPPRESSED_LINE, b"") if SUPPRESS_ONE else SETTINGS)


def start_receiver():
    receiver = start(
        [DEVKIT / "ruvo-receiver", "--json", "--reply", "OK\\r\\n", "--udp", "0.0.0.0:5000", "--tcp", "0.0.0.0:6000"],
        stdout=subprocess.PIPE,
    )
    receiver.stdout.readline()
    return Arrivals(receiver.stdout)


def start_daemon():
    """Starts ruvotcpd; returns once it has measured its uptime and answers."""
    daemon = start([DAEMON], stdout=subprocess.PIPE)
    log = pathlib.Path("/var/log/ruvo.log")
    listening = re.compile(r"0100007F:0A8C 00000000:0000 0A")
    ready = wait_until(
        lambda: listening.search(pathlib.Path("/proc/net/tcp").read_text())
        and pathlib.Path("/tmp/ruvo_var.txt").exists()
        and b"model=AV-100" in pathlib.Path("/tmp/ruvo_var.txt").read_bytes()
    )
    if not ready:
        print(log.read_text() if log.exists() else "the daemon has written no log")
        sys.exit("the daemon did not come up")
    threading.Thread(target=lambda: daemon.stdout.read(), daemon=True).start()


def send_trigger(name):
    """One connection, one request, one reply, as an installer would do it by hand."""
    shell = "printf '%s\\n' \"$1\" | nc -w 5 127.0.0.1 2700"
    done = subprocess.run(["sh", "-c", shell, "sh", name.decode().rstrip("\n")], stdout=subprocess.PIPE)
    return done.stdout


def missing(expected, arrived):
    """The expected messages that no arrival answers to."""
    left = list(arrived)
    result = []
    for entry in expected:
        to, protocol, pattern, _ = entry
        for arrival in left:
            data = bytes.fromhex(arrival["hex"])
            if (arrival["to"], arrival["protocol"]) == (to, protocol) and re.fullmatch(pattern, data):
                left.remove(arrival)
                break
        else:
            result.append(entry)
    return result, left


def print_spacing(expected, arrived):
    planned = [entry[3] for entry in expected]
    if not planned or None in planned or len(arrived) != len(expected):
        return
    first = arrived[0]["time_ns"]
    print("    spacing, planned -> measured:")
    for plan_ms, arrival in zip(planned, arrived):
        measured_ms = (arrival["time_ns"] - first) / 1e6
        print(f"        {plan_ms:5d} ms -> {measured_ms:7.1f} ms (off by {measured_ms - plan_ms:+.1f} ms)")


def event_log():
    log = pathlib.Path("/var/log/ruvoevent.log")
    return log.read_bytes() if log.exists() else b""


def was_skipped(logged_before):
    """Whether the event log's next line says that the event was skipped."""
    logged = lambda: event_log()[len(logged_before) :]
    return wait_until(lambda: logged().endswith(b"\n")) and b"  skip uptime=" in logged()


def run_event(trigger, expected, arrivals):
    print(f"\n$ printf '{trigger.decode().strip()}\\n' | nc 127.0.0.1 2700", flush=True)
    begin = len(arrivals.items)
    logged_before = event_log()
    arrivals.trigger_ns = time.monotonic_ns()
    reply = send_trigger(trigger)
    print(f"    reply {reply!r}", flush=True)
    settled = True
    if expected:
        wait_until(lambda: len(arrivals.items) >= begin + len(expected))
    elif settled := was_skipped(logged_before):
        print("    nothing leaves: the system has been up for less than 120 s")
    arrived = arrivals.items[begin:]
    absent, surplus = missing(expected, arrived)
    print_spacing(expected, arrived)
    for to, protocol, pattern, _ in absent:
        print(f"    MISSING: {protocol.upper()} to {to}: {pattern!r}")
    for arrival in surplus:
        print(f"    NOT EXPECTED: {arrival}")
    if reply != trigger:
        print(f"    WRONG REPLY: expected {trigger!r}")
    return settled and not absent and not surplus and reply == trigger


def show(title, path):
    print(f"\n{title}: {path}")
    for line in pathlib.Path(path).read_bytes().split(b"\n")[:-1]:
        print("    " + line.decode("latin-1").replace("\r", "\\r"))


def prompt():
    print("\nThe device stays up. Type an event (PowerOn, Sequence, Report, DVIConnected) or quit.")
    while True:
        try:
            name = input("trigger> ").strip()
        except (EOFError, KeyboardInterrupt):
            print()
            return
        if name in ("quit", "exit"):
            return
        if name:
            print(f"    reply {send_trigger(name.encode())!r}", flush=True)


def main():
    os.environ["PATH"] = f"{DEVKIT}:{os.environ['PATH']}"
    start_device()
    arrivals = start_receiver()
    start_daemon()
    results = [run_event(trigger, expected, arrivals) for trigger, expected in EVENTS]
    show("The event log", "/var/log/ruvoevent.log")
    show("The event list", "/tmp/ruvo_event_list.txt")
    if KEEP:
        prompt()
    if all(results):
        print("\nEverything expected has arrived.")
        return 0
    print("\nNot everything expected has arrived.")
    return 1


if __name__ == "__main__":
    sys.exit(main())
