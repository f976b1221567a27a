"""One event of 128 sends that are all due at the same later time: spread and order."""

from .. import programs, statistics
from ..results import FLOOR, Metric
from .figure import MachineFigure, RunningFigure, UDP_PORT, event_of, index_of, run_event

SENDS = 128
DUE_MS = 300


def spread_ms(arrivals):
    return statistics.spread([arrival.t_ns for arrival in arrivals]) / 1e6


def out_of_order_percent(arrivals):
    return 100 * statistics.out_of_order_share([index_of(arrival) for arrival in arrivals])


class Ties(RunningFigure):
    name = "ties"
    metrics = (
        Metric("ties.ms", f"{SENDS} sends due {DUE_MS} ms later, first to last", "ms"),
        Metric("ties.out-of-order", "of these behind a later one", "%"),
        Metric("ties.lost", "of these lost", "", digits=0),
    )

    def events(self, bench):
        return [event_of("Ties", [DUE_MS] + [0] * (SENDS - 1))]

    def measure(self, system, bench):
        complete, lost = [], 0
        for _ in range(bench.runs(10, 3)):
            arrivals = run_event(system, bench, "Ties", SENDS, DUE_MS / 1000 + 3)
            lost += SENDS - len(arrivals)
            if len(arrivals) == SENDS:
                complete.append(arrivals)
        values = {"ties.lost": lost}
        if complete:
            shares = [out_of_order_percent(arrivals) for arrivals in complete]
            values["ties.ms"] = statistics.median([spread_ms(arrivals) for arrivals in complete])
            values["ties.out-of-order"] = sum(shares) / len(shares)
        return values


class Threads(MachineFigure):
    """Bare threads at one deadline: 128 that send, and 512 that only wake."""

    name = "ties"
    metrics = (
        Metric("threads.512-spread", "512 bare threads at one deadline, first to last awake", "ms"),
        Metric("threads.512-late", "512 bare threads at one deadline, the last awake after it", "ms"),
    )

    def measure(self, bench):
        spreads, shares, awake, last = [], [], [], []
        for _ in range(bench.runs(5, 2)):
            bench.receiver.clear()
            programs.output_numbers("bench-threads", SENDS, 0, UDP_PORT)
            arrivals = bench.receiver.take(SENDS, 3)
            spreads.append(spread_ms(arrivals))
            shares.append(out_of_order_percent(arrivals))
            late_ms = [ns / 1e6 for ns in programs.output_numbers("bench-threads", 512)]
            awake.append(statistics.spread(late_ms))
            last.append(max(late_ms))
        return {
            ("ties.ms", FLOOR): statistics.median(spreads),
            ("ties.out-of-order", FLOOR): sum(shares) / len(shares),
            ("threads.512-spread", FLOOR): statistics.median(awake),
            ("threads.512-late", FLOOR): statistics.median(last),
        }
