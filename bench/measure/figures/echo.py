"""From the trigger to its echo, beside the bare status pipeline."""

from .. import statistics
from ..pipeline import Pipeline
from ..results import FLOOR, Metric
from .figure import RunningFigure, ask, collect, event_of


class Echo(RunningFigure):
    """A trigger and a pipeline in turns."""

    name = "echo"
    metrics = (
        Metric("echo.ms", "trigger to echo", "ms", digits=3),
        Metric("echo.per-pipeline", "trigger to echo / bare pipeline", "x", digits=3),
    )

    def events(self, bench):
        return [event_of("Echo", [0])]

    def measure(self, system, bench):
        bench.receiver.clear()
        echoes, pipelines = [], []
        with Pipeline() as pipeline:
            pipeline.run_ms()
            for _ in range(bench.runs(100, 20)):
                pipelines.append(pipeline.run_ms())
                sent_ns, echo_ns = ask(system, "Echo")
                echoes.append((echo_ns - sent_ns) / 1e6)
        collect(bench, {"Echo"}, len(echoes), 1)  # out of the way of the next figure
        echo_ms, pipeline_ms = statistics.median(echoes), statistics.median(pipelines)
        values = {"echo.ms": echo_ms, ("echo.ms", FLOOR): pipeline_ms}
        if system.name.startswith("ruvotcpd"):
            values["echo.per-pipeline"] = echo_ms / pipeline_ms
        return values
