"""One event of 128 sends without delay: from its first packet to its last."""

from .. import statistics
from ..results import Metric
from .figure import RunningFigure, event_of, run_event

SENDS = 128


class Burst(RunningFigure):
    name = "burst"
    metrics = (
        Metric("burst.ms", f"{SENDS} sends without delay, first to last", "ms"),
        Metric("burst.lost", "of these sends lost", "", digits=0),
    )

    def events(self, bench):
        return [event_of("Burst", [0] * SENDS)]

    def measure(self, system, bench):
        spreads, lost = [], 0
        for _ in range(bench.runs(10, 3)):
            arrivals = run_event(system, bench, "Burst", SENDS, 3)
            lost += SENDS - len(arrivals)
            if len(arrivals) == SENDS:
                spreads.append(statistics.spread([arrival.t_ns for arrival in arrivals]) / 1e6)
        values = {"burst.lost": lost}
        if spreads:
            values["burst.ms"] = statistics.median(spreads)
        return values
