"""Triggers become records of the queue."""

import re
import threading

from event_log import log_without_times
from harness import STATE, event, request, trigger, wait_until
from process import change_settings


def lamp_and_done(receiver):
    """Two events; the second, fired after the first, tells that the first would have arrived."""
    return event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp")) + event(
        "Done", (receiver.ip, receiver.port, "UDP", b"done")
    )


def arrived_until_done(receiver):
    trigger("Done")
    wait_until(lambda: any(a.data == b"done" for a in receiver.arrivals), "the last event arrives")
    return [arrival.data for arrival in receiver.arrivals]


def test_a_trigger_runs_its_event_once(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    device.start_daemon()
    trigger("Lamp")
    receiver.wait_for(1)
    assert arrived_until_done(receiver) == [b"lamp", b"done"]


def test_every_trigger_queues_a_record_of_its_own(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    device.start_daemon()
    for _ in range(3):
        trigger("Lamp")
    receiver.wait_for(3)
    assert arrived_until_done(receiver) == [b"lamp", b"lamp", b"lamp", b"done"]


def test_records_run_in_the_order_of_their_triggers(device):
    names = [f"Lamp{letter}" for letter in "DBACFE"]
    device.write_settings("".join(event(name, ("1.2.3.4", 5, "none", name.encode())) for name in names))
    device.start_daemon()
    for name in names:
        trigger(name)
    assert log_without_times(6) == (
        "1.2.3.4:5 none LampD\n1.2.3.4:5 none LampB\n1.2.3.4:5 none LampA\n"
        "1.2.3.4:5 none LampC\n1.2.3.4:5 none LampF\n1.2.3.4:5 none LampE\n"
    )


def test_event_names_are_compared_byte_for_byte(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon("-d")
    for name in ("lamp", "LAMP", "Lam", "Lamps", " Lamp", "Lamp ", "Lamp\r"):
        trigger(name)
        daemon.wait_for_output(rf"\[push_event_back:\d+\] not found sys event={re.escape(name)}\n")
    assert arrived_until_done(receiver) == [b"done"]


def test_an_unknown_event_is_dropped_without_a_word_when_not_debugging(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon()
    trigger("Nobody")
    assert arrived_until_done(receiver) == [b"done"]
    assert "not found" not in daemon.output()


def test_a_text_of_two_lines_is_looked_up_twice_and_matches_nothing(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon("-d")
    assert request(b"Lamp\nLamp\n") == b"Lamp\nLamp\n"
    assert arrived_until_done(receiver) == [b"done"]
    found = re.findall(r"\[push_event_back:\d+\] not found sys event=Lamp\nLamp\n\n", daemon.output())
    assert len(found) == 2, daemon.output()


def test_a_last_piece_without_a_line_end_is_a_line_too(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon("-d")
    assert request(b"A\nB\nC") == b"A\nB\nC\n"
    assert arrived_until_done(receiver) == [b"done"]
    found = re.findall(r"\[push_event_back:\d+\] not found sys event=A\nB\nC\n\n", daemon.output())
    assert len(found) == 3, daemon.output()


def test_only_one_line_end_is_dropped_from_a_name(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon("-d")
    assert request(b"Lamp\n\n") == b"Lamp\n\n"
    assert arrived_until_done(receiver) == [b"done"]
    found = re.findall(r"\[push_event_back:\d+\] not found sys event=Lamp\n\n\n", daemon.output())
    assert len(found) == 2, daemon.output()


def test_the_empty_name_finds_an_event_with_an_empty_trigger_name(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), xml_field="")
        + event("Done", (receiver.ip, receiver.port, "UDP", b"done"))
    )
    device.start_daemon()
    assert request(b"\n") == b"\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert arrived_until_done(receiver) == [b"lamp", b"done"]


def test_each_line_asks_the_status_service_once(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    device.replace_tool('echo asked >>/tmp/device/asked\nexec /usr/bin/timeout "$@"\n', "timeout")
    device.start_daemon()
    asked = STATE / "asked"
    wait_until(lambda: asked.exists(), "the start-up asks the status service")
    change_settings()  # the supervision loop runs: start-up asks no more
    before = asked.read_text().count("asked\n")
    request(b"One\nTwo\nThree\n")
    assert asked.read_text().count("asked\n") == before + 3


def test_a_lookup_that_hangs_does_not_hold_up_a_due_record(device):
    receiver = device.udp_receiver()
    hang = STATE / "hang"
    device.write_settings(
        event("Slow", (receiver.ip, receiver.port, "UDP", b"slow"))
        + event("Due", (receiver.ip, receiver.port, "UDP", b"due"), delay=1)
    )
    device.replace_tool(
        "while [ -e /tmp/device/hang ]; do : >/tmp/device/hangs; sleep 0.02; done\n"
        'exec /usr/bin/timeout "$@"\n',
        "timeout",
    )
    device.start_daemon()
    trigger("Due")
    hang.touch()
    client = threading.Thread(target=trigger, args=("Slow",))
    client.start()
    try:
        wait_until(lambda: (STATE / "hangs").exists(), "the lookup hangs")
        assert [arrival.data for arrival in receiver.wait_for(1)] == [b"due"]
        assert client.is_alive(), "the lookup should still hang"
    finally:
        hang.unlink()
        client.join()
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"due", b"slow"]


def test_a_trigger_while_disabled_is_not_queued(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    device.enable(False)
    daemon = device.start_daemon()
    assert request(b"Lamp\n") == b"Event Disabled, skip Lamp\n"
    device.enable(True)
    change_settings()
    assert arrived_until_done(receiver) == [b"done"]
    assert "disable event" not in daemon.output()


def test_a_queued_record_keeps_what_the_settings_said_when_it_was_triggered(device):
    before, after = device.udp_receiver(), device.udp_receiver()
    device.write_settings(event("Lamp", (before.ip, before.port, "UDP", b"before"), delay=2))
    device.start_daemon()
    trigger("Lamp")
    change_settings(event("Lamp", (after.ip, after.port, "UDP", b"after")))
    trigger("Lamp")
    assert [arrival.data for arrival in after.wait_for(1)] == [b"after"]
    assert [arrival.data for arrival in before.wait_for(1)] == [b"before"]


def test_events_run_while_start_up_still_waits_for_the_status_service(bare_device):
    receiver = bare_device.udp_receiver()
    bare_device.enable()
    bare_device.write_settings(lamp_and_done(receiver))
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.1\n")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_a_plain_trigger_is_no_test_record(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp_and_done(receiver))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    receiver.wait_for(1)
    daemon.wait_for_output(
        r"\[exec_event:\d+\] get sys event=Lamp, run event=Lamp, "
        r"now=\d+, t_exec=\d+, sub cmd size=1, test=0\n"
    )
