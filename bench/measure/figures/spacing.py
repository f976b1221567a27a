"""How exactly sends that follow each other keep their times."""

from .. import statistics
from ..results import Metric
from .figure import RunningFigure, event_of, index_of, run_event


class Spacing(RunningFigure):
    """Sends at equal distances; the first goes at once, and the others' times count from it."""

    def __init__(self, protocol, count, spacing_ms, runs):
        self._protocol = protocol
        self._delays_ms = [0] + [spacing_ms] * (count - 1)
        self._runs = runs
        self._event = f"{protocol.title()}Every{spacing_ms}ms"
        self.name = f"spacing-{protocol.lower()}-{spacing_ms}ms"
        title = f"{count} {protocol} sends every {spacing_ms} ms"
        self.metrics = (
            Metric(f"{self.name}.median", f"{title}: deviation, median", "ms", digits=3),
            Metric(f"{self.name}.p99", f"{title}: 99th percentile", "ms", digits=3),
            Metric(f"{self.name}.max", f"{title}: maximum", "ms", digits=3),
            Metric(f"{self.name}.even", f"{title}: from the run's median, 99th percentile", "ms", digits=3),
            Metric(f"{self.name}.drift", f"{title}: drift", "us/s", digits=1),
            Metric(f"{self.name}.lost", f"{title}: lost", "", digits=0),
        )

    def events(self, bench):
        return [event_of(self._event, self._delays_ms, self._protocol)]

    def measure(self, system, bench):
        due_ns = [due_ms * 1_000_000 for due_ms in self.events(bench)[0].due_ms()]
        runs, lost = [], 0
        for _ in range(bench.runs(self._runs, 2)):
            arrivals = run_event(system, bench, self._event, len(due_ns), due_ns[-1] / 1e9 + 3)
            lost += len(due_ns) - len(arrivals)
            if len(arrivals) == len(due_ns):
                times_ns = [arrival.t_ns for arrival in sorted(arrivals, key=index_of)]
                runs.append(self._run_values(times_ns, due_ns))
        values = {f"{self.name}.lost": lost}
        if runs:
            # A neighbour of the machine that takes the processor away spoils one run of many.
            values |= {name: statistics.median([run[name] for run in runs]) for name in runs[0]}
            values[f"{self.name}.max"] = max(run[f"{self.name}.max"] for run in runs)
        return values

    def _run_values(self, times_ns, due_ns):
        late_ms = [ns / 1e6 for ns in statistics.deviations(times_ns, due_ns)]
        distances_ms = [abs(ms) for ms in late_ms[1:]]
        # A first send that comes late makes all the others look early; here it is one of many.
        middle_ms = statistics.median(late_ms)
        return {
            f"{self.name}.median": statistics.median(distances_ms),
            f"{self.name}.p99": statistics.percentile(distances_ms, 0.99),
            f"{self.name}.max": max(distances_ms),
            f"{self.name}.even": statistics.percentile([abs(ms - middle_ms) for ms in late_ms], 0.99),
            f"{self.name}.drift": abs(statistics.drift_us_per_s(times_ns, due_ns)),
        }
