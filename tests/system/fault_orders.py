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
    "connect",
    "sendto",
    "open_to_read",
    "open_to_write",
    "write",
    "rename",
    "stat",
    "popen",
    "system",
    "pthread_create",
    "getifaddrs",
    "sysinfo",
    "allocation",
    "big_allocation",
    "queue_pass",
    "supervision_pass",
)
LIBRARY = "fail_calls.so"
ALWAYS = 1_000_000_000


class CallOrders:
    """The file that fail_calls.so reads; make it before the daemon starts."""

    _SIZE = 128
    _ERROR, _PASS, _FAIL, _CALLS, _ONLY = 0, 4, 8, 12, 16

    def __init__(self, device):
        path = STATE / "call_orders"
        path.write_bytes(bytes(self._SIZE * len(CALLS)))
        device.environment["RUVO_CALL_ORDERS"] = str(path)
        self._file = os.open(path, os.O_RDWR | os.O_CLOEXEC)

    def fail(self, call, error, after=0, times=1, only=""):
        """Lets `after` calls through from now on, then fails `times` calls with `error`.

        With `only` this is about the calls whose path or shell command holds that text.
        """
        self.stop(call)
        self._write(call, self._ONLY, only.encode() + b"\0")
        self._write(call, self._ERROR, struct.pack("ii", error, after))
        self._write(call, self._FAIL, struct.pack("i", times))

    def stop(self, call):
        """Lets every call through from now on."""
        self._write(call, self._FAIL, struct.pack("i", 0))

    def failures_left(self, call):
        return self._read(call, self._FAIL)

    def calls(self, call):
        """How often the daemon has made this call since the file was made."""
        return self._read(call, self._CALLS)

    def _write(self, call, offset, data):
        os.pwrite(self._file, data, self._SIZE * CALLS.index(call) + offset)

    def _read(self, call, offset):
        return struct.unpack("i", os.pread(self._file, 4, self._SIZE * CALLS.index(call) + offset))[0]


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


class MainThreadTimes:
    """The file that main_thread_times.so reads; make it before the daemon starts.

    The order of the numbers is that of tests/faults/main_thread_times.cpp.
    """

    LIBRARY = "main_thread_times.so"
    _UNREADABLE = -(2**63)

    def __init__(self, device, wall_s, uptime_s):
        path = STATE / "main_thread_times"
        path.write_bytes(struct.pack("4q", wall_s, self._uptime(uptime_s), 0, 0))
        device.environment["RUVO_MAIN_THREAD_TIMES"] = str(path)
        self._file = os.open(path, os.O_RDWR | os.O_CLOEXEC)

    def _uptime(self, seconds):
        return self._UNREADABLE if seconds is None else seconds

    def _write(self, number, value):
        os.pwrite(self._file, struct.pack("q", value), 8 * number)

    def set(self, wall_s, uptime_s):
        """Another second has begun; None is an uptime that cannot be read."""
        self._write(1, self._uptime(uptime_s))
        self._write(0, wall_s)

    def begin_second_between_readings(self):
        """In the next pass the wall clock is one second further at the second reading."""
        self._write(2, 1)

    def last_sleep_ns(self):
        """How long the main thread has last wanted to sleep."""
        return struct.unpack("q", os.pread(self._file, 8, 24))[0]
