import pytest


@pytest.fixture
def store(tmp_path):
    """The path of a user configuration that is not there yet."""
    return tmp_path / "store.json"
