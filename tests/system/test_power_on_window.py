"""During the first 120 seconds of uptime the two display events are not sent."""

import re

from event_log import STAMP
from harness import EVENT_LOG, LOG, event, text_of, trigger, wait_until
from process import change_settings

SKIPPED = r"\[exec_event:\d+\] during Power On, skip {} \.\.\.(\d+)/120\n"


def events(receiver, *names):
    return "".join(
        event(name, (receiver.ip, receiver.port, "UDP", name.encode())) for name in (*names, "Done")
    )


def arrived_until_done(receiver):
    trigger("Done")
    wait_until(lambda: any(a.data == b"Done" for a in receiver.arrivals), "the last event arrives")
    return [arrival.data for arrival in receiver.arrivals]


def test_display_events_are_skipped_and_logged_with_the_uptime(device):
    receiver = device.udp_receiver()
    device.write_settings(events(receiver, "DVIConnected"))
    daemon = device.start_daemon(uptime_s=30)

    def skipped_after_the_first_measurement():
        trigger("DVIConnected")
        return [m for m in re.finditer(SKIPPED.format("DVIConnected"), daemon.output()) if int(m[1]) >= 30]

    line = wait_until(skipped_after_the_first_measurement, "a skip with the measured uptime")[0]
    assert 30 <= int(line[1]) <= 120
    assert line[0] in text_of(LOG)
    entry = rf"(?m)^{STAMP}skip uptime={line[1]},127\.0\.0\.1:{receiver.port} UDP DVIConnected\n"
    wait_until(lambda: re.search(entry, text_of(EVENT_LOG)), "the event log tells of the skip")
    assert arrived_until_done(receiver) == [b"Done"]


def test_the_case_of_a_display_event_s_name_does_not_matter(device):
    receiver = device.udp_receiver()
    names = ("DVIConnected", "DVIDisconnected", "dviconnected", "DVICONNECTED", "dviDisConnected")
    device.write_settings(events(receiver, *names))
    daemon = device.start_daemon(uptime_s=30)
    for name in names:
        trigger(name)
        daemon.wait_for_output(SKIPPED.format(name))
    assert arrived_until_done(receiver) == [b"Done"]


def test_all_other_events_are_sent(device):
    receiver = device.udp_receiver()
    names = ("PowerOn", "DVIConnected2", "DVIConnecte", "xDVIDisconnected")
    device.write_settings(events(receiver, *names))
    daemon = device.start_daemon(uptime_s=30)
    for name in names:
        trigger(name)
    arrivals = receiver.wait_for(4)
    assert {arrival.data for arrival in arrivals} == {name.encode() for name in names}
    assert "during Power On" not in daemon.output()


def test_the_event_s_own_name_counts_and_not_its_trigger(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), xml_field="DVIConnected")
        + event("DVIDisconnected", (receiver.ip, receiver.port, "UDP", b"display"), xml_field="Hall")
        + event("Done", (receiver.ip, receiver.port, "UDP", b"Done"))
    )
    daemon = device.start_daemon(uptime_s=30)
    trigger("DVIConnected")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    trigger("Hall")
    daemon.wait_for_output(SKIPPED.format("DVIDisconnected"))
    assert arrived_until_done(receiver) == [b"lamp", b"Done"]


def test_every_step_of_a_skipped_event_is_logged(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "DVIConnected",
            (receiver.ip, receiver.port, "UDP", b"one\0more"),
            ("9.8.7.6", "port", "udp", b"two", 5000),
        )
    )
    daemon = device.start_daemon(uptime_s=30)
    trigger("DVIConnected")
    daemon.wait_for_output(SKIPPED.format("DVIConnected"), count=2)
    pattern = (
        rf"{STAMP}skip uptime=\d+,127\.0\.0\.1:{receiver.port} UDP one\n"
        rf"{STAMP}skip uptime=\d+,9\.8\.7\.6:port udp two\n"
    )
    wait_until(lambda: re.fullmatch(pattern, text_of(EVENT_LOG)), "both steps are in the event log")


def test_the_window_is_over_above_120_seconds_for_good(device):
    receiver = device.udp_receiver()
    device.write_settings(events(receiver, "DVIConnected"))
    daemon = device.start_daemon(uptime_s=115)

    def sent():
        trigger("DVIConnected")
        return receiver.arrivals

    wait_until(sent, "the event is sent when the window is over")
    uptimes = [int(m[1]) for m in re.finditer(SKIPPED.format("DVIConnected"), daemon.output())]
    assert uptimes, "the window was still open at the start"
    assert max(uptimes) <= 120
    skips = len(uptimes)
    for _ in range(3):
        before = len(receiver.arrivals)
        trigger("DVIConnected")
        receiver.wait_for(before + 1)
    assert len(re.findall(SKIPPED.format("DVIConnected"), daemon.output())) == skips


def test_a_device_that_has_run_long_measures_before_it_closes_the_window(bare_device):
    """As long as start-up waits for the status service nobody measures the uptime."""
    receiver = bare_device.udp_receiver()
    bare_device.enable()
    bare_device.write_settings(events(receiver, "DVIConnected"))
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.2\n")
    trigger("DVIConnected")
    [line] = daemon.wait_for_output(SKIPPED.format("DVIConnected"))
    assert line[1] == "0"
    assert arrived_until_done(receiver) == [b"Done"]
    bare_device.start_status_service()

    def sent():
        trigger("DVIConnected")
        return len(receiver.arrivals) > 1

    wait_until(sent, "the event is sent after the first measurement")


def test_the_window_is_looked_at_when_the_event_is_due(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("DVIConnected", (receiver.ip, receiver.port, "UDP", b"display"), delay=12)
        + event("DVIDisconnected", (receiver.ip, receiver.port, "UDP", b"skipped"))
    )
    daemon = device.start_daemon(uptime_s=113)
    trigger("DVIConnected")
    trigger("DVIDisconnected")
    daemon.wait_for_output(SKIPPED.format("DVIDisconnected"))
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"display"]


def test_the_window_comes_before_the_switch(device):
    """With the switch off, a display event is a power-on skip and any other a disabled one."""
    device.write_settings(
        event("DVIConnected", ("1.2.3.4", "5", "UDP", b"display"), delay=4)
        + event("PowerOn", ("1.2.3.4", "5", "UDP", b"power"), delay=4)
    )
    daemon = device.start_daemon(uptime_s=30)
    trigger("DVIConnected")
    trigger("PowerOn")
    device.enable(False)
    change_settings()
    daemon.wait_for_output(SKIPPED.format("DVIConnected"))
    daemon.wait_for_output(r"\[exec_event:\d+\] disable event, skip power\n")
    pattern = (
        rf"{STAMP}skip uptime=(\d+),1\.2\.3\.4:5 UDP display\n"
        rf"{STAMP}1\.2\.3\.4:5 UDP power, disabled uptime=(\d+)\n"
    )
    wait_until(lambda: re.fullmatch(pattern, text_of(EVENT_LOG)), "both lines are in the event log")
