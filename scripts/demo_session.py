"""The demonstration, inside the private world that scripts/demo makes."""

import argparse
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time
import typing

from device_session import (
    event_log,
    send_request,
    show,
    start_daemon,
    start_receiver,
    start_status_service,
    wait_until,
    write_settings,
)


def read_options():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--daemon", help="the command that starts the daemon; else the build's own")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--suppress-one", action="store_true")
    return parser.parse_args()


OPTIONS = read_options()
DEVKIT = OPTIONS.build.resolve() / "devkit"
DAEMON = shlex.split(OPTIONS.daemon or shlex.quote(str(OPTIONS.build.resolve() / "core" / "ruvotcpd")))

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

# What the test settings hold: the event is run by a command, whatever the switch says.
TEST_SETTINGS = b"""\
LampCheckCount=1
LampCheckIP0=10.1.2.3
LampCheckPort0=5000
LampCheckProtocol0=UDP
LampCheckData0=6C616D7020636865636B206F6E207B7B6D6F64656C7D7D
"""

# One value of each type in the device's user configuration.
USER_CONFIGURATION = [
    ("boolean", "network.ruvo.enable=true"),
    ("integer", "display.brightness=80"),
    ("double", "display.gamma=2.2"),
    ("string", "display.name=Lobby, left wall"),
]


class Message(typing.NamedTuple):
    """One expected arrival."""

    to: str
    protocol: str
    data: bytes  # a regular expression
    after_ms: typing.Optional[int] = None  # after the event's first message; None: not compared


class Step(typing.NamedTuple):
    """One request, and all that has to come of it."""

    request: bytes
    reply: bytes
    messages: typing.Sequence[Message] = ()
    skipped: bool = False  # the event log has to say that nothing is sent
    remark: str = ""


SEQUENCE = [
    Message("10.1.2.3:5000", "udp", rb"screen down", 0),
    Message("10.1.2.3:5000", "udp", rb"projector on", 250),
    Message("203.0.113.7:6000", "tcp", rb"input HDMI1", 650),
    Message("10.1.2.3:5000", "udp", rb"lights off", 800),
]
POWER_ON = [
    Message("10.1.2.3:5000", "udp", NOW + rb" up [4-9]\d s, on HDMI1\r\n"),
    Message("203.0.113.7:6000", "tcp", rb"POWER AV-100 " + NOW + rb" [4-9]\d\r\n"),
]
STATUS = [
    Message("198.51.100.9:6000", "tcp", re.escape(REPORT)),
    Message("198.51.100.9:5000", "udp", re.escape(REPORT)),
]
LAMP_CHECK = [Message("10.1.2.3:5000", "udp", rb"lamp check on AV-100")]

CHAPTERS = [
    (
        "Events",
        [
            Step(b"Sequence", b"Sequence\n", SEQUENCE),
            Step(b"PowerOn", b"PowerOn\n", POWER_ON),
            Step(b"Report", b"Report\n", STATUS),
            Step(
                b"DVIConnected", b"DVIConnected\n", skipped=True,
                remark="nothing leaves: the system has been up for less than 120 s",
            ),
        ],
    ),
    (
        "The switch: its reply always reads like an error",
        [
            Step(b"__SET__:network.ruvo.enable=0", b"Error: fail command:__SET__\n"),
            Step(b"__GET__:network.ruvo.enable", b"network.ruvo.enable=0\n"),
            Step(b"Sequence", b"Event Disabled, skip Sequence\n", remark="nothing leaves: events are off"),
            Step(
                b"__TEST__:LampCheck", b"call event LampCheck", LAMP_CHECK,
                remark="a test event, from the test settings, is sent all the same",
            ),
            Step(b"__SET__:network.ruvo.enable=1", b"Error: fail command:__SET__\n"),
            Step(b"PowerOn", b"PowerOn\n", POWER_ON),
        ],
    ),
    (
        "Values of the user configuration: a boolean, an integer, a double, a text, a section",
        [
            Step(b"__GET__:network.ruvo.enable", b"network.ruvo.enable=1\n"),
            Step(b"__GET__:display.brightness", b"display.brightness=80\n"),
            Step(b"__GET__:display.gamma", b"display.gamma=2.200000\n"),
            Step(b"__GET__:display.name", b"display.name=Lobby, left wall\n"),
            Step(b"__GET__:display", b"display=\n", remark="a section has no text"),
        ],
    ),
]


def start_device():
    start_status_service(DEVKIT, STATUS_ITEMS)
    for value_type, assignment in USER_CONFIGURATION:
        subprocess.run([DEVKIT / "userconfigtool", "set", value_type, assignment], check=True)
    write_settings("ruvo.txt", SETTINGS.replace(SUPPRESSED_LINE, b"") if OPTIONS.suppress_one else SETTINGS)
    write_settings("ruvotest.txt", TEST_SETTINGS)


def answers(message, arrival):
    return (
        (arrival["to"], arrival["protocol"]) == (message.to, message.protocol)
        and re.fullmatch(message.data, bytes.fromhex(arrival["hex"])) is not None
    )


def compare(expected, arrived):
    """The expected messages that did not arrive, and the arrivals that nobody expects."""
    surplus = list(arrived)
    absent = []
    for message in expected:
        found = next((arrival for arrival in surplus if answers(message, arrival)), None)
        if found is None:
            absent.append(message)
        else:
            surplus.remove(found)
    return absent, surplus


def print_spacing(expected, arrived):
    planned = [message.after_ms for message in expected]
    if not planned or None in planned or len(arrived) != len(expected):
        return
    first = arrived[0]["time_ns"]
    print("    spacing, planned -> measured:")
    for plan_ms, arrival in zip(planned, arrived):
        measured_ms = (arrival["time_ns"] - first) / 1e6
        print(f"        {plan_ms:5d} ms -> {measured_ms:7.1f} ms (off by {measured_ms - plan_ms:+.1f} ms)")


def was_skipped(logged_before):
    """Whether the event log's next line says that the event was skipped."""
    logged = lambda: event_log()[len(logged_before) :]
    return wait_until(lambda: logged().endswith(b"\n")) and b"  skip uptime=" in logged()


def run_step(step, arrivals):
    print(f"\n$ printf '{step.request.decode()}\\n' | nc 127.0.0.1 2700", flush=True)
    begin = len(arrivals.items)
    logged_before = event_log()
    arrivals.trigger_ns = time.monotonic_ns()
    reply = send_request(step.request)
    print(f"    reply {reply!r}", flush=True)
    wait_until(lambda: len(arrivals.items) >= begin + len(step.messages))
    settled = not step.skipped or was_skipped(logged_before)
    if step.remark and settled:
        print(f"    {step.remark}")
    arrived = arrivals.items[begin:]
    absent, surplus = compare(step.messages, arrived)
    print_spacing(step.messages, arrived)
    for message in absent:
        print(f"    MISSING: {message.protocol.upper()} to {message.to}: {message.data!r}")
    for arrival in surplus:
        print(f"    NOT EXPECTED: {arrival}")
    if reply != step.reply:
        print(f"    WRONG REPLY: expected {step.reply!r}")
    return settled and not absent and not surplus and reply == step.reply


def run_chapter(title, steps, arrivals):
    print(f"\n-- {title}")
    return [run_step(step, arrivals) for step in steps]


def prompt():
    print("\nThe device stays up. Type an event (PowerOn, Sequence, Report, DVIConnected)")
    print("or a command (__TEST__:LampCheck, __GET__:display.name), or quit.")
    while True:
        try:
            name = input("trigger> ").strip()
        except (EOFError, KeyboardInterrupt):
            print()
            return
        if name in ("quit", "exit"):
            return
        if name:
            print(f"    reply {send_request(name.encode())!r}", flush=True)


def main():
    os.environ["PATH"] = f"{DEVKIT}:{os.environ['PATH']}"
    start_device()
    arrivals = start_receiver(DEVKIT, [5000], [6000])
    start_daemon(DAEMON)
    results = [run_chapter(title, steps, arrivals) for title, steps in CHAPTERS]
    show("The event log", "/var/log/ruvoevent.log")
    show("The event list", "/tmp/ruvo_event_list.txt")
    if OPTIONS.keep:
        prompt()
    if all(map(all, results)):
        print("\nEverything expected has arrived.")
        return 0
    print("\nNot everything expected has arrived.")
    return 1


if __name__ == "__main__":
    sys.exit(main())
