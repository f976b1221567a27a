"""The simulated device's programs, and how the tests run them."""

import os
import subprocess
from pathlib import Path

DEVKIT = Path(os.environ["RUVO_DEVKIT_DIR"]).resolve()
TOOL = str(DEVKIT / "userconfigtool")
STATUS = str(DEVKIT / "ruvo-status-service")
RECEIVER = str(DEVKIT / "ruvo-receiver")
WORLD = str(DEVKIT / "ruvo-world")
PLATFORM_LIBRARY = str(DEVKIT / "libruvo_simulated_platform.so")

DEADLINE_S = 20


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, errors="replace",
                          timeout=DEADLINE_S, **options)


def output(*command, **options):
    """The standard output of a command that must succeed."""
    done = run(*command, **options)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout
