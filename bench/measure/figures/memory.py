"""Resident and proportional memory, at rest and with 512 sends pending."""

import time

from .. import process
from ..results import Metric
from ..scenario import Scenario
from .figure import ITEMS, SystemFigure, ask, event_of, small_scenario

EVENTS = 4
SENDS = 128
HELD_MS = 5000  # long enough that all are pending when memory is looked at
REST_S = 2.0


class MemoryIdle(SystemFigure):
    """After one event, at rest."""

    name = "memory-idle"
    metrics = (
        Metric("memory.resident", "resident memory, idle", "KiB", digits=0),
        Metric("memory.proportional", "proportional memory, idle", "KiB", digits=0),
    )

    def measure(self, system, bench):
        with system.start(small_scenario(), bench.folder / "memory"):
            system.wait_until_settled()
            bench.receiver.clear()
            ask(system, "Small")
            bench.receiver.take(1, 5)
            time.sleep(REST_S)
            resident, proportional = process.memory_kib(system.process_ids())
        return {"memory.resident": resident, "memory.proportional": proportional}


class MemoryPending(SystemFigure):
    """What 512 sends that wait for their time take, for each of them."""

    name = "memory-pending"
    metrics = (
        Metric("memory.pending", f"resident memory, {EVENTS * SENDS} sends pending", "KiB", digits=0),
        Metric("memory.per-send", "growth per pending send", "KiB"),
        Metric("memory.lost", "of these sends lost", "", digits=0),
    )

    def measure(self, system, bench):
        names = [f"Held{i}" for i in range(EVENTS)]
        events = [event_of(name, [HELD_MS] + [0] * (SENDS - 1)) for name in names]
        with system.start(Scenario(tuple(events), ITEMS), bench.folder / "memory"):
            system.wait_until_settled()
            bench.receiver.clear()
            before, _ = process.memory_kib(system.process_ids())
            for name in names:
                ask(system, name)
            time.sleep(REST_S)
            pending, _ = process.memory_kib(system.process_ids())
            early = len(bench.receiver.take(0, 0))
            arrived = len(bench.receiver.take(EVENTS * SENDS, HELD_MS / 1000 + REST_S))
        if early:
            raise RuntimeError(f"{system.name}: {early} sends went out before memory was looked at")
        return {
            "memory.pending": pending,
            "memory.per-send": (pending - before) / (EVENTS * SENDS),
            "memory.lost": EVENTS * SENDS - arrived,
        }
