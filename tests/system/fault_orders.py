"""Orders for the preloaded libraries of tests/faults that fail calls while the daemon runs."""

import os
import struct

from harness import STATE

# The order is that of tests/faults/call_orders.h.
CALLS = (
    "socket",
    "setsockopt",
    "bind",
    "listen",
    "select",
    "accept",
    "recv",
    "send",
    "pthread_create",
    "big_allocation",
)
LIBRARY = "fail_calls.so"


class CallOrders:
    """The file that fail_calls.so reads; make it before the daemon starts."""

    def __init__(self, device):
        path = STATE / "call_orders"
        path.write_bytes(bytes(12 * len(CALLS)))
        device.environment["RUVO_CALL_ORDERS"] = str(path)
        self._file = os.open(path, os.O_RDWR | os.O_CLOEXEC)

    def fail(self, call, error, after=0, times=1):
        """Lets `after` calls through from now on, then fails `times` calls with `error`."""
        offset = 12 * CALLS.index(call)
        os.pwrite(self._file, struct.pack("ii", error, after), offset)
        os.pwrite(self._file, struct.pack("i", times), offset + 8)

    def failures_left(self, call):
        return struct.unpack("i", os.pread(self._file, 4, 12 * CALLS.index(call) + 8))[0]


class ClockJump:
    """The file that jump_steady_clock.so reads; make it before the daemon starts."""

    LIBRARY = "jump_steady_clock.so"

    def __init__(self, device):
        self._path = STATE / "clock_jump"
        self._path.write_bytes(bytes(8))
        device.environment["RUVO_CLOCK_JUMP"] = str(self._path)

    def jump(self, seconds):
        """Sets the daemon's steady clock this far ahead of the machine's."""
        with open(self._path, "r+b") as file:
            file.write(struct.pack("q", int(seconds * 1_000_000_000)))
