import pathlib
import sys

# The simulated device and the daemon are started as the system tests start them.
sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "system"))
