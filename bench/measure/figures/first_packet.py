"""How long after the echo the first packet comes; at most a pass of the queue later."""

import random
import time

from .. import statistics
from ..results import Metric
from .figure import RunningFigure, ask, collect, event_name_of, event_of

TRIGGERS = 120
QUICK_TRIGGERS = 40
PAUSE_S = 0.012


class FirstPacket(RunningFigure):
    """Triggers at moments that have nothing to do with the passes."""

    name = "first-packet"
    metrics = (
        Metric("first-packet.median", "first packet after the echo, median", "ms"),
        Metric("first-packet.max", "first packet after the echo, maximum", "ms"),
        Metric("first-packet.lost", "of these packets lost", "", digits=0),
    )

    def events(self, bench):
        return [event_of(f"First{i}", [0]) for i in range(TRIGGERS)]

    def measure(self, system, bench):
        pauses = random.Random(0)
        bench.receiver.clear()
        echoes = {}
        for i in range(bench.runs(TRIGGERS, QUICK_TRIGGERS)):
            _, echoes[f"First{i}"] = ask(system, f"First{i}")
            time.sleep(pauses.uniform(0, PAUSE_S))
        arrivals = collect(bench, echoes, len(echoes), 3)
        waits = [(arrival.t_ns - echoes[event_name_of(arrival)]) / 1e6 for arrival in arrivals]
        lost = {"first-packet.lost": len(echoes) - len(arrivals)}
        if not waits:
            return lost
        return {"first-packet.median": statistics.median(waits), "first-packet.max": max(waits), **lost}
