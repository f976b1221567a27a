import pytest

from harness import Device


@pytest.fixture
def bare_device():
    """A device with clean paths and nothing started."""
    device = Device()
    yield device
    device.end()


@pytest.fixture
def device(bare_device):
    """A device whose status service answers and whose feature is switched on."""
    bare_device.enable()
    bare_device.start_status_service()
    return bare_device
