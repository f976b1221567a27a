"""From the trigger to its echo, beside the bare status pipeline."""

from .. import statistics
from ..results import FLOOR, Metric
from .figure import RunningFigure, ask, event_of

TURNS = 5
TRIGGERS = 10


class Echo(RunningFigure):
    """Ten triggers and ten pipelines in turns."""

    name = "echo"
    metrics = (
        Metric("echo.ms", "trigger to echo", "ms", digits=3),
        Metric("echo.per-pipeline", "trigger to echo / bare pipeline", "x", digits=3),
    )

    def events(self, bench):
        return [event_of("Echo", [0])]

    def measure(self, system, bench):
        echoes, pipelines = [], []
        for _ in range(bench.runs(TURNS, 2)):
            pipelines += bench.pipeline_ms(TRIGGERS)
            for _ in range(TRIGGERS):
                sent_ns, echo_ns = ask(system, "Echo")
                echoes.append((echo_ns - sent_ns) / 1e6)
        echo_ms, pipeline_ms = statistics.median(echoes), statistics.median(pipelines)
        values = {"echo.ms": echo_ms, ("echo.ms", FLOOR): pipeline_ms}
        if system.name.startswith("ruvotcpd"):
            values["echo.per-pipeline"] = echo_ms / pipeline_ms
        return values
