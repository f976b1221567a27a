"""Clocks of the daemon alone, set while it runs; the machine's own are left alone."""

import struct

from harness import STATE


class Jump:
    """The file of a preloaded library that adds a number; make it before the daemon starts."""

    def __init__(self, device, library, variable, unit=1):
        self.library = f"{library}.so"
        self._unit = unit
        self._path = STATE / library
        self._path.write_bytes(bytes(8))
        device.environment[variable] = str(self._path)

    def set(self, ahead):
        with open(self._path, "r+b") as file:
            file.write(struct.pack("q", int(ahead * self._unit)))


def wall_clock(device):
    return Jump(device, "jump_wall_clock", "RUVO_WALL_CLOCK_JUMP")


def uptime(device):
    return Jump(device, "jump_uptime", "RUVO_UPTIME_JUMP")


def steady_clock(device):
    return Jump(device, "jump_steady_clock", "RUVO_CLOCK_JUMP", 1_000_000_000)
