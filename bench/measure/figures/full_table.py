"""Four events of 128 sends triggered together: as many as the daemon sends at a time."""

import concurrent.futures

from .. import statistics
from ..results import Metric
from .figure import RunningFigure, ask, collect, event_of

EVENTS = 4
SENDS = 128
NAMES = [f"Quad{i}" for i in range(EVENTS)]
ATTEMPTS = 5


def wait_for_pass(system, bench):
    """Returns right behind a pass of the daemon's queue, so that what comes next is in one pass.

    A table of senders that is full of ended ones frees them and drops this send: ask again.
    """
    for _ in range(ATTEMPTS):
        bench.receiver.clear()
        ask(system, "Marker")
        if collect(bench, {"Marker"}, 1, 1):
            return
    raise RuntimeError(f"{system.name}: no send arrives any more")


def trigger_together(system, names):
    with concurrent.futures.ThreadPoolExecutor(len(names)) as pool:
        for done in [pool.submit(ask, system, name) for name in names]:
            done.result()


class FullTable(RunningFigure):
    name = "full-table"
    metrics = (
        Metric("full-table.ms", f"{EVENTS} x {SENDS} sends triggered together, first to last", "ms"),
        Metric("full-table.lost", "of these lost", "", digits=0),
    )

    def events(self, bench):
        return [event_of("Marker", [0]), *(event_of(name, [0] * SENDS) for name in NAMES)]

    def measure(self, system, bench):
        spreads, lost = [], 0
        for _ in range(bench.runs(5, 2)):
            wait_for_pass(system, bench)
            trigger_together(system, NAMES)
            arrivals = collect(bench, NAMES, EVENTS * SENDS, 4)
            lost += EVENTS * SENDS - len(arrivals)
            if arrivals:
                spreads.append(statistics.spread([arrival.t_ns for arrival in arrivals]) / 1e6)
        values = {"full-table.lost": lost}
        if spreads:
            values["full-table.ms"] = statistics.median(spreads)
        return values
