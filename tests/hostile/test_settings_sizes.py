"""Large and odd settings files: what they hold is found, and triggers are served meanwhile.

With RUVO_HOSTILE_FULL=1 each has its full size, a half and a quarter of it, and a table
tells time and memory; otherwise it is a thousandth.
"""

import os
import time

import pytest
from aftermath import memory_kb
from harness import EVENT_LIST, SETTINGS, event, newer_than, text_of, trigger, wait_until
from process import change_settings
from settings_sizes import SHAPES

FULL = os.environ.get("RUVO_HOSTILE_FULL") == "1"
PARTS = (0.25, 0.5, 1) if FULL else (0.001,)
PATIENCE_S = 600.0 if FULL else 30.0


class Reading:
    """One daemon that reads one file in the place of a small one."""

    def __init__(self, device, shape, size):
        receiver = device.udp_receiver()

        def lamp(data):
            return event("Lamp", (receiver.ip, receiver.port, "UDP", data))

        device.write_settings(lamp(b"before"))
        daemon = device.start_daemon()
        change_settings()
        self.memory_before_kb = memory_kb(daemon.pid, "VmHWM")
        new = SETTINGS.with_name("new_settings.txt")
        shape.write(new, size)
        with open(new, "ab") as file:
            file.write(lamp(b"after").encode())
        self.bytes = new.stat().st_size
        newer_than(new, SETTINGS)
        reloads = daemon.reloads()
        begin = time.monotonic()
        new.rename(SETTINGS)
        self.waits_s = []
        while daemon.reloads() == reloads:
            self._trigger_meanwhile(receiver)
            assert time.monotonic() < begin + PATIENCE_S, "the file is read"
        self.rebuilt_s = time.monotonic() - begin
        before = len(receiver.arrivals)
        trigger("Lamp")
        arrivals = receiver.wait_for(before + 1, PATIENCE_S)
        assert arrivals[-1].data == b"after"
        self.served_s = arrivals[-1].time_s - begin
        # The list's text is the last that a reading writes, and this its last line.
        last = "Lamp;Lamp;0:after:0;Delay=0;\n"
        wait_until(lambda: text_of(EVENT_LIST).endswith(last), "the list is written", PATIENCE_S)
        self.memory_kb = memory_kb(daemon.pid, "VmHWM")
        assert text_of(EVENT_LIST).count("\n") == shape.entries(size) + 1
        daemon.stop()
        receiver.close()

    def _trigger_meanwhile(self, receiver):
        before, begin = len(receiver.arrivals), time.monotonic()
        trigger("Lamp")
        receiver.wait_for(before + 1, PATIENCE_S)
        self.waits_s.append(time.monotonic() - begin)

    def text(self):
        return (
            f"{self.bytes / 1e6:8.2f} MB   served after {self.served_s:7.2f} s   "
            f"peak {self.memory_kb / 1e3:7.1f} MB ({self.memory_before_kb / 1e3:.1f} before)   "
            f"meanwhile {len(self.waits_s)} triggers, worst wait {max(self.waits_s):.2f} s"
        )


@pytest.mark.parametrize("shape", SHAPES, ids=lambda shape: shape.name)
def test_a_file_of_any_size_is_read_while_triggers_are_served(device, shape):
    if FULL:
        print(f"\n{shape.name}")
    readings = []
    for part in PARTS:
        readings.append(Reading(device, shape, int(shape.full_size * part)))
        if FULL:
            print(readings[-1].text(), flush=True)
    for smaller, larger in zip(readings, readings[1:]):
        print(
            f"    twice the size: {larger.served_s / smaller.served_s:.2f} times the time, "
            f"{larger.memory_kb / smaller.memory_kb:.2f} times the memory"
        )
