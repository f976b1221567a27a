"""Nothing is ever sent early, whatever the order and spacing of delays."""

import ctypes
import os
import re
import signal
import threading
import time

from harness import STATE, event, trigger, wait_until


def seconds_after(start, arrivals):
    return {arrival.data.decode(): arrival.time_s - start for arrival in arrivals}


def test_an_event_waits_for_its_delay(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=1))
    device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    assert seconds_after(start, receiver.wait_for(1))["lamp"] >= 1.0


def test_a_later_record_does_not_block_the_ones_behind_it(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Late", (receiver.ip, receiver.port, "UDP", b"late"), delay=2)
        + event("Middle", (receiver.ip, receiver.port, "UDP", b"middle"), delay=1)
        + event("Soon", (receiver.ip, receiver.port, "UDP", b"soon"))
    )
    device.start_daemon()
    start = time.monotonic()
    for name in ("Late", "Middle", "Soon"):
        trigger(name)
    arrivals = receiver.wait_for(3)
    assert [arrival.data for arrival in arrivals] == [b"soon", b"middle", b"late"]
    times = seconds_after(start, arrivals)
    assert times["middle"] >= 1.0 and times["late"] >= 2.0


def test_a_negative_event_delay_does_not_wait(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Late", (receiver.ip, receiver.port, "UDP", b"late"), delay=3)
        + event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=-30)
    )
    daemon = device.start_daemon("-d")
    trigger("Late")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"lamp", b"late"]
    now, due = re.search(r"run event=Lamp, now=(-?\d+), t_exec=(-?\d+), ", daemon.output()).groups()
    # The texts show the computed due time: before the trigger's own.
    assert int(due) <= int(now) - 30_000_000_000


def test_a_delay_that_is_no_number_does_not_wait(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Late", (receiver.ip, receiver.port, "UDP", b"late"), delay=3)
        + event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp", "soon"), delay="later")
    )
    device.start_daemon()
    trigger("Late")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"lamp", b"late"]


def test_step_delays_add_up_from_the_start_of_the_event(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"first", 200),
            (receiver.ip, receiver.port, "UDP", b"second", 300),
            (receiver.ip, receiver.port, "UDP", b"third", 400),
        )
    )
    device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    arrivals = receiver.wait_for(3)
    assert [arrival.data for arrival in arrivals] == [b"first", b"second", b"third"]
    times = seconds_after(start, arrivals)
    assert times["first"] >= 0.2 and times["second"] >= 0.5 and times["third"] >= 0.9


def test_step_delays_come_on_top_of_the_event_delay(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp", 500), delay=1))
    device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    assert seconds_after(start, receiver.wait_for(1))["lamp"] >= 1.5


def test_tcp_and_status_steps_wait_too(device):
    udp, tcp = device.udp_receiver(), device.tcp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (tcp.ip, tcp.port, "TCP", b"plain", 400),
            (tcp.ip, tcp.port, "StatusTCP", b"", 200),
            (udp.ip, udp.port, "StatusUDP", b"", 200),
        )
    )
    device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    plain, report = tcp.wait_for(2)
    assert plain.data == b"plain" and plain.time_s - start >= 0.4
    assert report.data.startswith(b"model:") and report.time_s - start >= 0.6
    assert udp.wait_for(1)[0].time_s - start >= 0.8


def test_a_step_with_a_negative_delay_is_sent_at_once(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"late", 1000),
            (receiver.ip, receiver.port, "UDP", b"early", -3000),
        )
    )
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"early", b"late"]
    assert "data=[5]early, sleep for=-2000000000\n" in daemon.output()


def test_a_step_with_a_shorter_delay_overtakes_the_ones_before_it(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"600 ms", 600),
            (receiver.ip, receiver.port, "UDP", b"300 ms", -300),
            (receiver.ip, receiver.port, "UDP", b"900 ms", 600),
        )
    )
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(3)] == [b"300 ms", b"600 ms", b"900 ms"]


def recorded_steps(device, delays):
    """Runs one event of such steps; returns each one's deadline (0: none) and sending time, in ns."""
    receiver = device.udp_receiver()
    path = STATE / "deadlines"
    steps = [(receiver.ip, receiver.port, "UDP", f"{i}".encode(), delay) for i, delay in enumerate(delays)]
    device.write_settings(event("Lamp", *steps))
    device.start_daemon(preload=["record_deadlines.so"], environment={"RUVO_DEADLINES": str(path)})
    trigger("Lamp")
    receiver.wait_for(len(delays))
    records = sorted((int(data), int(due), int(sent)) for due, sent, data in map(str.split, path.open()))
    assert [step for step, _, _ in records] == list(range(len(delays)))
    return [(due, sent) for _, due, sent in records]


def test_every_step_waits_for_its_own_deadline_and_none_drifts(device):
    steps = recorded_steps(device, [5] * 128)
    first = steps[0][0]
    assert [due - first for due, _ in steps] == [i * 5_000_000 for i in range(128)]
    assert [sent - due for due, sent in steps if sent < due] == [], "sent before the deadline"


def test_steps_that_are_due_together_wait_100_us_more_each(device):
    """That is what keeps them in order; what a busy machine makes of it bench/run measures."""
    steps = recorded_steps(device, [300] + [0] * 127)
    first = steps[0][0]
    assert [due - first for due, _ in steps] == [i * 100_000 for i in range(128)]
    assert [sent - due for due, sent in steps if sent < due] == [], "sent before the deadline"


def test_steps_that_are_due_together_need_not_be_neighbours(device):
    steps = recorded_steps(device, [300, 200, -200, 200, -200])
    first = steps[0][0]
    assert [due - first for due, _ in steps] == [0, 200_000_000, 100_000, 200_100_000, 200_000]


def test_steps_without_a_delay_do_not_wait_for_each_other(device):
    steps = recorded_steps(device, [0, 0, 0, -100, 50])
    assert [due for due, _ in steps] == [0, 0, 0, 0, 0]


def test_the_debug_lines_show_the_configured_delay_of_steps_that_are_due_together(device):
    receiver = device.udp_receiver()
    steps = [(receiver.ip, receiver.port, "UDP", f"step{i}".encode(), 0 if i else 300) for i in range(3)]
    device.write_settings(event("Lamp", *steps))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    receiver.wait_for(3)
    for i in range(3):
        line = f"data=[5]step{i}, sleep for=300000000\n"
        assert daemon.output().count(line) == 2, daemon.output()


def test_no_step_of_a_long_sequence_comes_early(device):
    receiver = device.udp_receiver()
    steps = [(receiver.ip, receiver.port, "UDP", f"{i + 1}".encode(), 10) for i in range(128)]
    device.write_settings(event("Lamp", *steps))
    device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    times = seconds_after(start, receiver.wait_for(128))
    early = {name: at for name, at in times.items() if at < int(name) * 0.010}
    assert not early
    assert len(times) == 128


def test_signals_do_not_shorten_a_delay(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp", 1000)))
    daemon = device.start_daemon()
    tgkill = ctypes.CDLL(None).tgkill
    stop = threading.Event()
    signalled = set()

    def signal_every_thread():
        while not stop.is_set():
            for thread in os.listdir(f"/proc/{daemon.pid}/task"):
                # SIGPIPE leads to a handler that does nothing.
                if tgkill(daemon.pid, int(thread), signal.SIGPIPE) == 0:
                    signalled.add(thread)
            time.sleep(0.005)

    signaller = threading.Thread(target=signal_every_thread)
    start = time.monotonic()
    trigger("Lamp")
    signaller.start()
    try:
        assert seconds_after(start, receiver.wait_for(1))["lamp"] >= 1.0
    finally:
        stop.set()
        signaller.join()
    assert len(signalled) >= 4, "main, command server, queue thread and the waiting sender"
    wait_until(daemon.running, "the daemon still runs")
