"""Four events of 128 sends triggered together: as many as the daemon sends at a time."""

import concurrent.futures

from .. import statistics
from ..results import Metric
from .figure import RunningFigure, ask, event_of, first_word

EVENTS = 4
SENDS = 128
ATTEMPTS = 5


def wait_for_pass(system, bench):
    """Returns right behind a pass of the daemon's queue, so that what comes next is in one pass.

    A table of senders that is full of ended ones frees them and drops this send: ask again.
    """
    for _ in range(ATTEMPTS):
        bench.receiver.clear()
        ask(system, "Marker")
        arrivals = bench.receiver.take(1, 1)
        if any(first_word(arrival) == "Marker0" for arrival in arrivals):
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
        quads = [event_of(f"Quad{i}", [0] * SENDS, prefix=f"Quad{i}.") for i in range(EVENTS)]
        return [event_of("Marker", [0], prefix="Marker"), *quads]

    def measure(self, system, bench):
        spreads, lost = [], 0
        for _ in range(bench.runs(5, 2)):
            wait_for_pass(system, bench)
            trigger_together(system, [f"Quad{i}" for i in range(EVENTS)])
            arrivals = bench.receiver.take(EVENTS * SENDS, 4)
            lost += EVENTS * SENDS - len(arrivals)
            if arrivals:
                spreads.append(statistics.spread([arrival.t_ns for arrival in arrivals]) / 1e6)
        values = {"full-table.lost": lost}
        if spreads:
            values["full-table.ms"] = statistics.median(spreads)
        return values
