import pathlib
import sys

import pytest

# The simulated device and the daemon are started as the system tests start them.
sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "system"))

from harness import Device  # noqa: E402


@pytest.fixture
def device():
    """A device whose status service answers and whose feature is switched on."""
    device = Device()
    device.enable()
    device.start_status_service()
    yield device
    device.end()
