"""Each step that is sent gets a sender slot: 512 of them, reclaimed when the next one is wanted."""

import errno
import re

from fault_orders import LIBRARY, CallOrders
from harness import LOG, event, text_of, trigger, wait_until
from process import IDLE_EVENT, thread_count, threads_when_idle

FULL = r"\[get_new_ret_thread:\d+\] Error: skip {}, event thead over 512\n"


def slot_story(daemon):
    """What the debug lines tell about slots, in their order."""
    return [
        f"{what} {slot}"
        for what, slot in re.findall(
            r"\[get_new_ret_thread:\d+\] (get|free) thread id=(\d+)\n", daemon.output()
        )
    ]


def test_slots_are_taken_from_0_upward_while_their_threads_run(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", *[(receiver.ip, receiver.port, "UDP", b"on", 0 if i else 1000) for i in range(3)])
    )
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    trigger("Lamp")
    receiver.wait_for(6)
    assert slot_story(daemon) == ["get 0", "get 1", "get 2", "get 3", "get 4", "get 5"]


def test_a_finished_slot_is_freed_on_the_way_and_not_taken_in_the_same_scan(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Two", *[(receiver.ip, receiver.port, "UDP", b"two")] * 2)
        + event("Three", *[(receiver.ip, receiver.port, "UDP", b"3", 0 if i else 2000) for i in range(3)])
        + IDLE_EVENT
    )
    daemon = device.start_daemon("-d")
    idle = threads_when_idle(daemon.pid)
    trigger("Two")
    receiver.wait_for(2)
    wait_until(lambda: thread_count(daemon.pid) == idle, "both senders have ended")
    trigger("Three")
    receiver.wait_for(5)
    assert slot_story(daemon) == ["get 0", "get 1", "free 0", "free 1", "get 2", "get 0", "get 1"]


def test_the_513th_send_is_dropped_and_a_finished_slot_is_only_freed_by_the_next_one(device):
    """512 senders at once: the first of them ends early, the others wait out 16 seconds."""
    receivers = [device.udp_receiver() for _ in range(4)]
    extra = device.udp_receiver()
    settings = IDLE_EVENT + event("Extra", (extra.ip, extra.port, "UDP", b"extra"))
    for number, receiver in enumerate(receivers):
        delays = [8000, 8000] if number == 0 else [16000, 0]
        steps = [
            (receiver.ip, receiver.port, "UDP", f"{number}-{i}".encode(), delay)
            for i, delay in enumerate(delays + [0] * 126)
        ]
        settings += event(f"Many{number}x", *steps)
    device.write_settings(settings)
    daemon = device.start_daemon("-d")
    idle = threads_when_idle(daemon.pid)
    log_before = text_of(LOG)

    for number in range(4):
        trigger(f"Many{number}x")
    wait_until(lambda: len(slot_story(daemon)) == 512, "every slot is taken")
    assert slot_story(daemon) == [f"get {i}" for i in range(512)]
    wait_until(lambda: thread_count(daemon.pid) == idle + 512, "512 senders wait")
    trigger("Extra")
    daemon.wait_for_output(FULL.format("Extra"))
    assert len(slot_story(daemon)) == 512, "nothing was freed"

    receivers[0].wait_for(1)
    wait_until(lambda: thread_count(daemon.pid) == idle + 511, "the first sender has ended")
    trigger("Extra")
    daemon.wait_for_output(FULL.format("Extra"), count=2)
    assert slot_story(daemon)[512:] == ["free 0"]
    trigger("Extra")
    assert [arrival.data for arrival in extra.wait_for(1)] == [b"extra"]
    assert slot_story(daemon)[513:] == ["get 0"]

    for number, receiver in enumerate(receivers):
        arrivals = receiver.wait_for(128)
        assert {arrival.data for arrival in arrivals} == {f"{number}-{i}".encode() for i in range(128)}
    wait_until(lambda: thread_count(daemon.pid) == idle, "all senders have ended")

    trigger("Extra")
    daemon.wait_for_output(FULL.format("Extra"), count=3)
    assert slot_story(daemon)[514:] == [f"free {i}" for i in range(512)]
    trigger("Extra")
    assert [arrival.data for arrival in extra.wait_for(2)] == [b"extra", b"extra"]
    assert slot_story(daemon)[1026:] == ["get 0"]
    assert "thead" not in text_of(LOG)[len(log_before) :], "only the debug flag shows it"


def test_other_steps_and_events_go_on_while_the_table_is_full(device):
    receiver = device.udp_receiver()
    settings = event(
        "Later",
        (receiver.ip, receiver.port, "UDP", b"lost"),
        (receiver.ip, receiver.port, "UDP", b"later"),
        delay=19,
    )
    for number in range(4):
        steps = [(receiver.ip, receiver.port, "UDP", b"on", 1) for _ in range(126)]
        settings += event(
            f"Many{number}x",
            (receiver.ip, receiver.port, "UDP", b"on", 14000),
            *steps,
            (receiver.ip, receiver.port, "udp", b"needs no slot"),
        )
    settings += event("Six", *[(receiver.ip, receiver.port, "UDP", b"six", 1) for _ in range(6)])
    device.write_settings(settings)
    daemon = device.start_daemon("-d")
    trigger("Later")
    for number in range(4):
        trigger(f"Many{number}x")
    # 4 x 127 are taken: four of the six find a slot, two are dropped.
    trigger("Six")
    daemon.wait_for_output(FULL.format("Six"), count=2)
    wait_until(lambda: [a.data for a in receiver.arrivals].count(b"six") == 4, "four of the six arrive")
    # By now every slot has finished: the first step frees them and is lost.
    wait_until(lambda: b"later" in [a.data for a in receiver.arrivals], "the delayed event arrives")
    assert len(re.findall(FULL.format("Six"), daemon.output())) == 2
    assert len(re.findall(FULL.format("Later"), daemon.output())) == 1
    assert b"lost" not in [arrival.data for arrival in receiver.arrivals]


def test_a_sender_thread_that_cannot_start_costs_one_step(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", *[(receiver.ip, receiver.port, "UDP", f"step {i}".encode(), 1000) for i in range(3)])
    )
    orders = CallOrders(device)
    daemon = device.start_daemon("-d", preload=[LIBRARY])
    trigger("Nobody")
    for failing in range(3):
        del receiver.arrivals[:]
        slots_before, log_before = len(slot_story(daemon)), text_of(LOG)
        orders.fail("pthread_create", errno.EAGAIN, after=failing)
        trigger("Lamp")
        arrivals = receiver.wait_for(2)
        expected = [f"step {i}".encode() for i in range(3) if i != failing]
        assert [arrival.data for arrival in arrivals] == expected
        new_lines = [
            line for line in text_of(LOG)[len(log_before) :].splitlines() if "temporarily unavailable" in line
        ]
        assert len(new_lines) == 1 and new_lines[0] in daemon.output(), new_lines
        got = [line for line in slot_story(daemon)[slots_before:] if line.startswith("get")]
        assert len(got) == 3
        # The failed step's slot is free again: the step after it gets the same one.
        if failing < 2:
            assert got[failing] == got[failing + 1]
    assert orders.failures_left("pthread_create") == 0


def test_the_daemon_recovers_when_no_thread_at_all_could_start(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", *[(receiver.ip, receiver.port, "UDP", b"on", 1)] * 128))
    orders = CallOrders(device)
    daemon = device.start_daemon("-d", preload=[LIBRARY])
    orders.fail("pthread_create", errno.EAGAIN, times=128)
    trigger("Lamp")
    wait_until(lambda: orders.failures_left("pthread_create") == 0, "every start has failed")
    trigger("Lamp")
    receiver.wait_for(128)
    assert len(re.findall("temporarily unavailable", text_of(LOG))) == 128
    assert slot_story(daemon)[:128] == ["get 0"] * 128
