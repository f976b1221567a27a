"""Settings text to records to event list, beside a minimal model of the same work."""

import json

from .. import programs, statistics
from ..results import FLOOR, Metric
from .figure import MachineFigure

SIZES = (10, 100, 1_000, 10_000, 100_000)
GROWTH_FROM = 1_000


class Rebuild(MachineFigure):
    name = "rebuild"
    metrics = (
        *(Metric(f"rebuild.{size}", f"rebuild of {size:,} lines", "ms", digits=3) for size in SIZES),
        Metric("rebuild.per-model", "rebuild of 10,000 lines / minimal model", "x"),
        Metric("rebuild.growth", f"growth exponent, {GROWTH_FROM:,} to {SIZES[-1]:,} lines", "", digits=3),
    )

    def measure(self, bench):
        values, costs = {}, {}
        for line in programs.output_lines("bench-rebuild", *SIZES):
            item = json.loads(line)
            size = item["lines"]
            costs[size] = own, model = [statistics.median(item[key]) for key in ("ruvo_ns", "model_ns")]
            values[f"rebuild.{size}", "ruvotcpd"] = own / 1e6
            values[f"rebuild.{size}", FLOOR] = model / 1e6
        for column, place in (("ruvotcpd", 0), (FLOOR, 1)):
            sizes = [size for size in SIZES if size >= GROWTH_FROM]
            exponent = statistics.growth_exponent(sizes, [costs[size][place] for size in sizes])
            values["rebuild.growth", column] = exponent
        own, model = costs[10_000]
        values["rebuild.per-model", "ruvotcpd"] = own / model
        return values
