"""What the figures were measured on, and of what."""

import os
import pathlib
import platform
import time


def about(rounds, quick):
    return {
        "when": time.strftime("%Y-%m-%d %H:%M:%S %Z"),
        "processor": _processor(),
        "processors": os.cpu_count(),
        "kernel": platform.release(),
        "source": os.environ.get("RUVO_BENCH_SOURCE", "unknown"),
        "rounds": rounds,
        "quick": quick,
    }


def sentence(facts):
    rounds = f"{facts['rounds']} round{'s' if facts['rounds'] != 1 else ''}"
    quick = ", quick: fewer runs, for a look only" if facts["quick"] else ""
    return (
        f"{facts['when']}, {facts['processors']} x {facts['processor']}, Linux {facts['kernel']}, "
        f"source {facts['source']}; {rounds}{quick}"
    )


def _processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        name, _, value = line.partition(":")
        if name.strip() == "model name":
            return value.strip()
    return platform.machine()
