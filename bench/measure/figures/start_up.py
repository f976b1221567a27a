"""From the process being made to the first connection, beside the shells of that time alone."""

import socket
import time

from .. import programs, statistics
from ..results import FLOOR, Metric
from ..scenario import COMMAND_PORT
from .figure import SystemFigure, small_scenario

ALLOWANCE_MS = 5
DEADLINE_S = 20
PAUSE_S = 0.0002


def first_connection_ns():
    """Tries to connect again and again, which is much cheaper than reading the kernel's tables."""
    end = time.monotonic() + DEADLINE_S
    while time.monotonic() < end:
        with socket.socket() as client:
            if client.connect_ex(("127.0.0.1", COMMAND_PORT)) == 0:
                return time.time_ns()
        time.sleep(PAUSE_S)
    raise RuntimeError(f"nobody accepts after {DEADLINE_S} s")


class StartUp(SystemFigure):
    """One start and one run of the bare shells in turns."""

    name = "start-up"
    metrics = (
        Metric("start-up.ms", "start-up to accepting", "ms"),
        Metric("start-up.per-floor", f"(start-up - {ALLOWANCE_MS} ms) / bare shells", "x", digits=3),
    )

    def measure(self, system, bench):
        starts, floors = [], []
        for _ in range(bench.runs(10, 3)):
            with system.start(small_scenario(), bench.folder / "start-up"):
                starts.append((first_connection_ns() - system.started_ns) / 1e6)
            floors += [ns / 1e6 for ns in programs.output_numbers("bench-startup-shells", 1)]
        start_ms, floor_ms = statistics.median(starts), statistics.median(floors)
        values = {"start-up.ms": start_ms, ("start-up.ms", FLOOR): floor_ms}
        if system.name.startswith("ruvotcpd"):
            values["start-up.per-floor"] = (start_ms - ALLOWANCE_MS) / floor_ms
        return values
