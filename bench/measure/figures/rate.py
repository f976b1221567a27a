"""How many triggers four clients get through in five seconds, with every packet counted."""

import json

from .. import programs, statistics
from ..pipeline import Pipeline
from ..results import Metric
from .figure import RunningFigure, collect, event_of

CLIENTS = 4
SECONDS = 5
PIPELINES = 40  # before the triggers, and as many behind them


class Rate(RunningFigure):
    name = "rate"
    metrics = (
        Metric("rate.per-s", f"triggers per second, {CLIENTS} clients", "1/s", "higher", 1),
        Metric("rate.per-pipeline", "triggers per second x bare pipeline", "x", "higher", 3),
        Metric("rate.lost", "triggers without echo or packet", "", digits=0),
    )

    def events(self, bench):
        return [event_of("Rate", [0])]

    def measure(self, system, bench):
        bench.receiver.clear()
        with Pipeline() as pipeline:
            pipelines = [pipeline.run_ms() for _ in range(PIPELINES)]
            seconds = bench.runs(SECONDS, 2)
            tally = json.loads(programs.output_lines("bench-clients", CLIENTS, seconds, "Rate")[0])
            pipelines += [pipeline.run_ms() for _ in range(PIPELINES)]
        arrived = len(collect(bench, {"Rate"}, tally["right"], 3))
        rate = tally["right"] / tally["seconds"]
        lost = tally["right"] - arrived + tally["wrong"] + tally["failed"]
        values = {"rate.per-s": rate, "rate.lost": lost}
        if system.name.startswith("ruvotcpd"):
            values["rate.per-pipeline"] = rate * statistics.median(pipelines) / 1000
        return values
