"""Whether a system sends the right bytes at the right times; one that does not is not measured.

Usage (in ruvo-world): python3 -m measure.check [SYSTEM...]
"""

import concurrent.futures
import dataclasses
import itertools
import pathlib
import re
import sys
import time

from .receive import Receiver
from .scenario import Event, Scenario, Send
from .systems import NotStarted, all_systems

LATEST_MS = 400
# The daemon's reading of the uptime may be this old, and the kernel rounds it up.
UPTIME_AGE_S = 2
UPTIME_ROUNDING_S = 1
UDP, TCP = 5201, 5202

TEXTS = Event("Texts", 0, (
    Send("UDP", UDP, b"plain"),
    Send("UDP", UDP, rb"input {{input}}, volume {{volume}}\r\n"),
    Send("UDP", UDP, rb"{{date}}{{time}} up {{uptime}} s\n", 50),
    Send("UDP", UDP, rb"\nbetween\r\nlines\r"),
    Send("UDP", UDP, rb"an item's own escape: {{note}}, unknown:{{nobody}}.", 20),
    Send("UDP", UDP, b"}} {{input}}{{power}} {left} {{open \xe9\xff\\x"),
    Send("TCP", TCP, rb"tcp {{power}}\r\n", 100),
    Send("TCP", TCP, rb"{{time}}\n{{model}}", 30),
    Send("UDP", UDP, b"last", 300),
))
LATER = Event("Later", 1, (
    Send("TCP", TCP, b"one second\r"),
    Send("UDP", UDP, rb"{{time}} later", 5),
    *(Send("UDP", UDP, b"step %d" % i, 5) for i in range(20)),
))
TOGETHER = [
    Event(f"Client{i}", 0, (Send("UDP", UDP, b"client %d" % i, 10), Send("TCP", TCP, b"client %d" % i, 10)))
    for i in range(4)
]
SCENARIO = Scenario(
    (TEXTS, LATER, *TOGETHER),
    {"model": "AV-100", "input": "HDMI1", "power": "on", "volume": "42", "mute": "off", "note": r"a\tb",
     "serial": "0042: a"},
)


@dataclasses.dataclass(frozen=True)
class Planned:
    """A send that a trigger has asked for, and the moments between which it is to arrive."""

    event: str
    send: Send
    trigger_ns: int
    earliest_ns: int
    latest_ns: int


def plan(event, sent_ns, echo_ns):
    """What the event is to send, triggered at sent_ns and queued by echo_ns."""
    dues_ns = [(event.delay_s * 1000 + due) * 1_000_000 for due in event.due_ms()]
    return [
        Planned(event.name, send, sent_ns, sent_ns + due, echo_ns + due + LATEST_MS * 1_000_000)
        for due, send in zip(dues_ns, event.sends)
    ]


def expand(text, items, now_s, uptime_s):
    """The bytes of a text at one moment: macros first, then escapes."""
    built_in = {
        "date": time.strftime("%Y-%m-%d ", time.localtime(now_s)),
        "time": time.strftime("%H:%M:%S", time.localtime(now_s)),
        "uptime": str(uptime_s),
    }
    values = {**built_in, **items}
    text = re.sub(rb"\{\{(.*?)\}\}", lambda macro: values.get(macro[1].decode(), "").encode(), text)
    return text.replace(rb"\n", b"\n").replace(rb"\r", b"\r").replace(rb"\t", b"\t")


def possible_bytes(text, items, begin_ns, end_ns, boot_ns):
    """The bytes of a text whose macros are replaced at any moment between the two."""
    seconds = range(begin_ns // 10**9, end_ns // 10**9 + 1)
    first_uptime = (begin_ns - boot_ns) // 10**9 - UPTIME_AGE_S
    last_uptime = (end_ns - boot_ns) // 10**9 + UPTIME_ROUNDING_S
    uptimes = range(first_uptime, last_uptime + 1)
    return {expand(text, items, *moment) for moment in itertools.product(seconds, uptimes)}


def compare(planned, arrivals, items, boot_ns):
    """What is wrong with the arrivals, a line for each; planned sends differ in port or bytes."""
    wrong, left = [], list(arrivals)
    for one in planned:
        found = next((arrival for arrival in left if _is(arrival, one, items, boot_ns)), None)
        if found is None:
            wrong.append(f"{one.event}: {one.send.protocol} {one.send.text!r} has not arrived")
            continue
        left.remove(found)
        if found.t_ns < one.earliest_ns:
            early_us = (one.earliest_ns - found.t_ns) // 1000
            wrong.append(f"{one.event}: {found.data!r} came {early_us} us early")
        if found.t_ns > one.latest_ns:
            late_ms = (found.t_ns - one.latest_ns) / 1e6 + LATEST_MS
            wrong.append(f"{one.event}: {found.data!r} came {late_ms:.1f} ms late")
    return wrong + [f"{arrival.protocol} {arrival.data!r} arrived unasked" for arrival in left]


def check(system, folder):
    """What is wrong with the system, a line for each; none when all is right."""
    try:
        with (
            Receiver(udp=SCENARIO.ports("UDP"), tcp=SCENARIO.ports("TCP")) as receiver,
            system.start(SCENARIO, folder),
        ):
            system.wait_until_settled()
            rounds = [[TEXTS.name], [LATER.name], ["Nobody"], [event.name for event in TOGETHER]]
            return [line for names in rounds for line in _check_round(system, receiver, names)]
    except (NotStarted, OSError) as error:
        return [str(error)]


def _check_round(system, receiver, names):
    """Triggers these names at the same time."""
    receiver.clear()
    with concurrent.futures.ThreadPoolExecutor(len(names)) as clients:
        answers = list(clients.map(system.trigger, names))
    wrong, planned = [], []
    for name, (echo, sent_ns, echo_ns) in zip(names, answers):
        if echo != name.encode() + b"\n":
            wrong.append(f"{name}: the echo is {echo!r}")
        events = [event for event in SCENARIO.events if event.name == name]
        planned += [one for event in events for one in plan(event, sent_ns, echo_ns)]
    # More than ever come: the whole time is waited, so that what comes unasked is seen.
    arrivals = receiver.take(10_000, _seconds_left(planned))
    boot_ns = time.time_ns() - time.clock_gettime_ns(time.CLOCK_BOOTTIME)
    return wrong + compare(planned, arrivals, SCENARIO.items, boot_ns)


def _seconds_left(planned):
    latest_ns = max((one.latest_ns for one in planned), default=time.time_ns())
    return max(latest_ns - time.time_ns(), 0) / 1e9 + LATEST_MS / 1000


def _is(arrival, one, items, boot_ns):
    return (arrival.protocol, arrival.port) == (one.send.protocol, one.send.port) and (
        arrival.data in possible_bytes(one.send.text, items, one.trigger_ns, arrival.t_ns, boot_ns)
    )


def main(names):
    systems = all_systems()
    failed = 0
    for name in names or systems:
        missing = systems[name].missing()
        folder = pathlib.Path("/tmp/check") / name
        wrong = [f"{path} is missing" for path in missing] or check(systems[name], folder)
        print(f"{name:<16} {'FAILED' if wrong else 'ok'}")
        for line in wrong:
            print(f"    {line}")
        failed += bool(wrong)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
