"""Log lines per second, beside opening, appending and closing alone."""

import json
import subprocess

from .. import programs
from ..results import FLOOR, Metric
from .figure import MachineFigure


class Log(MachineFigure):
    name = "log"
    metrics = (
        Metric("log.per-s", "log lines per second", "1/s", "higher", 0),
        Metric("log.four-per-s", "log lines per second, four threads", "1/s", "higher", 0),
        Metric("log.event-per-s", "event log lines per second", "1/s", "higher", 0),
    )

    def measure(self, bench):
        command = [str(programs.bench_program("bench-log")), str(bench.runs(40000, 8000))]
        done = subprocess.run(
            command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=True, text=True
        )
        ns = json.loads(done.stderr)
        return {
            ("log.per-s", "ruvotcpd"): 1e9 / ns["log"],
            ("log.per-s", FLOOR): 1e9 / ns["bare"],
            ("log.four-per-s", "ruvotcpd"): 1e9 / ns["log_4_threads"],
            ("log.event-per-s", "ruvotcpd"): 1e9 / ns["event_log"],
        }
