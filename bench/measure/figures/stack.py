"""How much of a sender's stack is used while senders wait for peers that never answer."""

import pathlib
import re
import socket
import time

from ..results import Metric
from ..scenario import Event, Scenario, Send
from .figure import ITEMS, SystemFigure, ask

SENDS = 128
PORT = 5003
STACK_KIB = 128
WAIT_S = 5
PAUSE_S = 0.05
MAPPING = re.compile(r"^Size:\s+(\d+) kB\n(?:(?!Size:).*\n)*?Rss:\s+(\d+) kB", re.M)


def largest_resident_kib(process_id):
    """Of the mappings that have the size of a sender's stack."""
    text = pathlib.Path(f"/proc/{process_id}/smaps").read_text()
    return max((int(rss) for size, rss in MAPPING.findall(text) if int(size) == STACK_KIB), default=0)


class Stack(SystemFigure):
    """The status variant by TCP is the sender that nests deepest and has the largest buffers."""

    name = "stack"
    metrics = (Metric("stack.kib", f"resident part of a sender's {STACK_KIB} KiB stack, at most", "KiB", digits=0),)

    def measure(self, system, bench):
        if not system.name.startswith("ruvotcpd"):
            return {}
        sends = tuple(Send("TCPStatus", PORT, b"", 0) for _ in range(SENDS))
        with socket.create_server(("127.0.0.1", PORT), backlog=SENDS):
            with system.start(Scenario((Event("Hang", 0, sends),), ITEMS), bench.folder / "stack"):
                system.wait_until_settled()
                ask(system, "Hang")
                return {"stack.kib": self._watch(system.pid)}

    def _watch(self, process_id):
        most_kib, end = 0, time.monotonic() + WAIT_S
        while time.monotonic() < end:
            most_kib = max(most_kib, largest_resident_kib(process_id))
            time.sleep(PAUSE_S)
        return most_kib
