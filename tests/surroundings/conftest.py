import json
import os
import pathlib
import sys

import pytest

# The simulated device and the daemon are started as the system tests start them.
sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "system"))

from harness import Device  # noqa: E402
from plant import Plant  # noqa: E402

FULL = bool(os.environ.get("RUVO_SURROUNDINGS_FULL"))
RESULTS = os.environ.get("RUVO_SURROUNDINGS_RESULTS")


def pytest_configure(config):
    config.addinivalue_line("markers", "full: only in a full run, see scripts/surroundings")


def pytest_collection_modifyitems(config, items):
    left_out = [] if FULL else [item for item in items if item.get_closest_marker("full")]
    config.hook.pytest_deselected(items=left_out)
    items[:] = [item for item in items if item not in left_out]


def pytest_runtest_logreport(report):
    """One line for each scenario, from which scripts/surroundings makes its table."""
    if RESULTS is None or (report.when != "call" and report.outcome == "passed"):
        return
    line = {
        "file": pathlib.Path(report.fspath).stem.removeprefix("test_"),
        "test": report.location[2],
        "outcome": report.outcome,
        "seconds": report.duration,
        "counted": dict(report.user_properties),
    }
    with open(RESULTS, "a", encoding="utf-8") as results:
        results.write(json.dumps(line) + "\n")


@pytest.fixture
def device():
    """A device whose status service answers and whose feature is switched on."""
    device = Device()
    device.enable()
    device.start_status_service()
    yield device
    device.end()


@pytest.fixture
def plant(device):
    """A device with receivers for every kind of step, and settings that use them all."""
    return Plant(device)
