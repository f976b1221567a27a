"""A record that has been in the queue for more than 60 seconds is dropped."""

import re
import time

from fault_orders import ClockJump
from harness import EVENT_LOG, LOG, event, text_of, trigger, wait_until

DROPPED = (
    r"\[exec_event:\d+\] Error cannot send sys event={}, run event={}, "
    r"now=(\d+), t_exec=(\d+), sub cmd size={}\n"
)


def test_a_delay_over_60_seconds_is_never_served_and_the_queue_has_no_limit(device):
    """Runs a good minute: this one takes the time that it is about."""
    receiver = device.udp_receiver()
    device.write_settings(
        event("InTime", (receiver.ip, receiver.port, "UDP", b"in time"), delay=59)
        + event(
            "TooLate",
            (receiver.ip, receiver.port, "UDP", b"too late"),
            (receiver.ip, receiver.port, "UDP", b"too late"),
            delay=61,
            xml_field="Lamp",
        )
        + event("Flood", (receiver.ip, receiver.port, "UDP", b"flood"), delay=62)
    )
    daemon = device.start_daemon()
    start = time.monotonic()
    trigger("InTime")
    trigger("Lamp")
    # More than the 1024 that the usage text calls the maximum.
    for _ in range(1030):
        trigger("Flood")

    [dropped] = daemon.wait_for_output(DROPPED.format("Lamp", "TooLate", 2), deadline_s=90)
    assert time.monotonic() - start > 60.0
    now, due = int(dropped[1]), int(dropped[2])
    assert now - (due - 61_000_000_000) > 60_000_000_000
    assert dropped[0] in text_of(LOG)

    flood = DROPPED.format("Flood", "Flood", 1)
    daemon.wait_for_output(flood, count=1030, deadline_s=90)
    wait_until(lambda: len(re.findall(flood, text_of(LOG))) == 1030, "the log holds them all")
    assert len(re.findall(flood, daemon.output())) == 1030

    arrivals = receiver.wait_for(1)
    assert [arrival.data for arrival in arrivals] == [b"in time"]
    assert arrivals[0].time_s - start >= 59.0
    assert text_of(EVENT_LOG).count("\n") == 1, "a dropped record leaves no line in the event log"


def test_a_record_is_dropped_when_the_queue_thread_comes_too_late(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=5)
        + event("Done", (receiver.ip, receiver.port, "UDP", b"done"))
    )
    clock = ClockJump(device)
    daemon = device.start_daemon(preload=[clock.LIBRARY])
    trigger("Lamp")
    clock.jump(61)
    [dropped] = daemon.wait_for_output(DROPPED.format("Lamp", "Lamp", 1))
    assert dropped[0] in text_of(LOG)
    trigger("Done")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"done"]


def test_a_record_that_is_late_by_less_is_still_sent(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=20))
    clock = ClockJump(device)
    daemon = device.start_daemon(preload=[clock.LIBRARY])
    trigger("Lamp")
    clock.jump(30)
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert "cannot send" not in daemon.output()
