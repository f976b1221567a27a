"""What a system does when there is nothing to do, beside the fixed periods alone."""

import contextlib
import subprocess
import time

from .. import process, programs
from ..results import FLOOR, Metric
from .figure import MachineFigure, SystemFigure, ask, small_scenario

PERIOD_S = 20
REST_S = 1.5


def switches_and_cpu_ms(process_ids, seconds):
    """Over so many seconds, scaled to the usual period."""
    switches = process.context_switches(process_ids)
    cpu_ns = process.cpu_ns(process_ids)
    time.sleep(seconds)
    cpu_ns = process.cpu_ns(process_ids) - cpu_ns
    switches = process.context_switches(process_ids) - switches
    scale = PERIOD_S / seconds
    return switches * scale, cpu_ns / 1e6 * scale


class Idle(SystemFigure):
    """After one event, at rest."""

    name = "idle"
    metrics = (
        Metric("idle.switches", f"context switches in {PERIOD_S} s, idle", "", digits=0),
        Metric("idle.cpu-ms", f"processor time in {PERIOD_S} s, idle", "ms"),
    )

    def measure(self, system, bench):
        with system.start(small_scenario(), bench.folder / "idle"):
            system.wait_until_settled()
            bench.receiver.clear()
            ask(system, "Small")
            bench.receiver.take(1, 5)
            time.sleep(REST_S)
            seconds = bench.runs(PERIOD_S, PERIOD_S // 4)
            switches, cpu_ms = switches_and_cpu_ms(system.process_ids(), seconds)
        return {"idle.switches": switches, "idle.cpu-ms": cpu_ms}


class IdleFloor(MachineFigure):
    """Two threads that sleep as the daemon does."""

    name = "idle"

    def measure(self, bench):
        command = [str(programs.bench_program("bench-idle"))]
        with contextlib.ExitStack() as stack:
            floor = stack.enter_context(subprocess.Popen(command, stdout=subprocess.PIPE))
            stack.callback(floor.terminate)
            floor.stdout.readline()
            time.sleep(REST_S)
            seconds = bench.runs(PERIOD_S, PERIOD_S // 4)
            switches, cpu_ms = switches_and_cpu_ms([floor.pid], seconds)
        return {("idle.switches", FLOOR): switches, ("idle.cpu-ms", FLOOR): cpu_ms}
