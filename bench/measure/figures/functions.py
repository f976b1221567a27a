"""What the pure functions on a trigger's road cost by themselves; Google Benchmark's figures."""

import json

from .. import programs
from ..results import Metric
from .figure import MachineFigure

TITLES = {
    "expand_plain_text": "expansion of 128 sub-commands: plain text",
    "expand_escapes": "expansion of 128 sub-commands: escapes only",
    "expand_clock_macros": "expansion of 128 sub-commands: {{time}} and {{date}}",
    "expand_first_item": "expansion of 128 sub-commands: the first status item",
    "expand_last_item": "expansion of 128 sub-commands: the 40th status item",
    "expand_unknown_macros": "expansion of 128 sub-commands: unknown macros",
    "due_times": "due times of 128 sub-commands",
    "parse_settings_line": "one settings line to its record",
    "trigger_request": "one request to its trigger text",
}


class Functions(MachineFigure):
    name = "functions"
    metrics = tuple(Metric(f"functions.{name}", title, "us", digits=3) for name, title in TITLES.items())

    def measure(self, bench):
        pattern = "|".join(f"BM_{name}$" for name in TITLES)
        lines = programs.output_lines("ruvo-bench-functions", f"--benchmark_filter={pattern}",
                                      "--benchmark_format=json", f"--benchmark_min_time={bench.runs(0.5, 0.05)}")
        found = json.loads("\n".join(lines))["benchmarks"]
        return {
            (f"functions.{item['name'].removeprefix('BM_')}", "ruvotcpd"): item["cpu_time"] / 1000
            for item in found
        }
