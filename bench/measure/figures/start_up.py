"""From the process being made to the command port listening, beside the shells of that time alone."""

from .. import programs, statistics
from ..results import FLOOR, Metric
from .figure import SystemFigure, small_scenario

ALLOWANCE_MS = 5


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
                starts.append((system.wait_until_accepting() - system.started_ns) / 1e6)
            floors += [ns / 1e6 for ns in programs.output_numbers("bench-startup-shells", 1)]
        start_ms, floor_ms = statistics.median(starts), statistics.median(floors)
        values = {"start-up.ms": start_ms, ("start-up.ms", FLOOR): floor_ms}
        if system.name.startswith("ruvotcpd"):
            values["start-up.per-floor"] = (start_ms - ALLOWANCE_MS) / floor_ms
        return values
