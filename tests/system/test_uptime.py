"""The supervision loop: the uptime and the end of the power-on window."""

import errno
import re

from fault_orders import ALWAYS, LIBRARY, CallOrders, MainThreadTimes
from harness import EVENT_LOG, LOG, event, request, text_of, wait_until

STATUS_WAIT = r"\[main:1959\] wait getStatus\.\.\.(\d+)\n"


# The uptime.


def uptime_event(receiver):
    return event("Ask", (receiver.ip, receiver.port, "UDP", b"{{uptime}}"))


def ask_uptime(receiver):
    count = len(receiver.arrivals)
    assert request(b"Ask\n") == b"Ask\n"
    return int(receiver.wait_for(count + 1)[count].data)


def test_the_uptime_is_the_systems(device):
    receiver = device.udp_receiver()
    device.write_settings(uptime_event(receiver))
    device.start_daemon(uptime_s=123456).wait_for_supervision()
    wait_until(lambda: ask_uptime(receiver) != 0, "the uptime is measured")
    uptime_s = ask_uptime(receiver)
    assert 123456 <= uptime_s < 123456 + 60


def test_the_uptime_is_measured_again_and_again(device):
    receiver = device.udp_receiver()
    device.write_settings(uptime_event(receiver))
    device.start_daemon().wait_for_supervision()
    first = wait_until(lambda: ask_uptime(receiver), "the uptime is measured")
    wait_until(lambda: ask_uptime(receiver) >= first + 2, "the uptime goes on")


def test_the_uptime_is_0_before_supervision(bare_device):
    bare_device.enable()
    receiver = bare_device.udp_receiver()
    bare_device.write_settings(uptime_event(receiver))
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS_WAIT, count=2)
    assert ask_uptime(receiver) == 0


def test_an_uptime_that_cannot_be_read_counts_from_the_start_of_supervision(device):
    receiver = device.udp_receiver()
    device.write_settings(uptime_event(receiver))
    CallOrders(device).fail("sysinfo", errno.EFAULT, times=ALWAYS)
    device.start_daemon(preload=[LIBRARY])
    first = wait_until(lambda: ask_uptime(receiver), "the uptime is measured")
    assert first < 60
    wait_until(lambda: ask_uptime(receiver) > first, "the uptime goes on")


def wait_for_uptime(receiver, uptime_s):
    wait_until(lambda: ask_uptime(receiver) == uptime_s, f"the uptime is {uptime_s}")


def test_the_uptime_is_measured_when_the_wall_clock_shows_another_second(device):
    receiver = device.udp_receiver()
    device.write_settings(uptime_event(receiver))
    times = MainThreadTimes(device, wall_s=1000, uptime_s=10)
    daemon = device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_supervision()
    assert ask_uptime(receiver) == 0, "not in the second in which supervision begins"
    times.set(wall_s=1001, uptime_s=20)
    wait_for_uptime(receiver, 20)
    times.set(wall_s=1001, uptime_s=30)
    daemon.wait_for_passes(2)
    assert ask_uptime(receiver) == 20, "not twice in a second"
    times.set(wall_s=999, uptime_s=5_000_000_000)
    wait_for_uptime(receiver, 5_000_000_000)


def test_an_uptime_that_cannot_be_read_is_the_time_since_supervision_began(bare_device):
    bare_device.enable()
    receiver = bare_device.udp_receiver()
    bare_device.write_settings(uptime_event(receiver))
    times = MainThreadTimes(bare_device, wall_s=1000, uptime_s=None)
    daemon = bare_device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_output(STATUS_WAIT)
    times.set(wall_s=2000, uptime_s=None)
    bare_device.start_status_service()
    daemon.wait_for_supervision()
    times.set(wall_s=2003, uptime_s=None)
    wait_for_uptime(receiver, 3)
    times.set(wall_s=1993, uptime_s=None)
    wait_for_uptime(receiver, -7)


# The power-on window.


def window_event(receiver):
    return event("DVIConnected", (receiver.ip, receiver.port, "UDP", b"{{uptime}}"))


def skipped_uptimes():
    return [int(uptime) for uptime in re.findall(r"  skip uptime=(\d+),", text_of(EVENT_LOG))]


def test_the_power_on_window_ends_after_120_seconds_of_uptime(device):
    receiver = device.udp_receiver()
    device.write_settings(window_event(receiver))
    device.start_daemon(uptime_s=115)

    def sent():
        assert request(b"DVIConnected\n") == b"DVIConnected\n"
        return receiver.arrivals

    wait_until(sent, "an event is sent")
    skipped = skipped_uptimes()
    assert skipped and max(skipped) <= 120
    assert int(receiver.arrivals[0].data) >= 120


def test_the_power_on_window_does_not_open_again(device):
    receiver = device.udp_receiver()
    device.write_settings(window_event(receiver))
    # The readings that fail give a few seconds only, long after the first good one.
    CallOrders(device).fail("sysinfo", errno.EFAULT, after=1, times=ALWAYS)
    daemon = device.start_daemon(preload=[LIBRARY])
    daemon.wait_for_supervision()

    def small_uptime():
        assert request(b"DVIConnected\n") == b"DVIConnected\n"
        return any(int(arrival.data) in range(1, 60) for arrival in receiver.arrivals)

    wait_until(small_uptime, "an event is sent at a small uptime")
    assert not [uptime for uptime in skipped_uptimes() if uptime > 0]


def test_a_second_boundary_between_two_readings_is_logged(device):
    daemon = device.start_daemon(uptime_s=10, preload=["skip_seconds.so"])
    line = daemon.wait_for_output(r"\[main:1983\] t_uptime=(\d+), enable hdmi plug=0\n")[0]
    assert 10 <= int(line[1]) <= 70
    assert line[0] in text_of(LOG)


def test_a_second_boundary_is_not_looked_for_after_the_window(device):
    daemon = device.start_daemon(preload=["skip_seconds.so"])
    daemon.wait_for_supervision()
    daemon.wait_for_passes(5)
    assert "[main:1983]" not in daemon.output()


def test_a_second_between_two_readings_is_told_once_and_measures_nothing(device):
    receiver = device.udp_receiver()
    device.write_settings(uptime_event(receiver))
    times = MainThreadTimes(device, wall_s=1000, uptime_s=-5_000_000_000)
    daemon = device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_supervision()
    times.set(wall_s=1001, uptime_s=-5_000_000_000)
    wait_for_uptime(receiver, -5_000_000_000)
    assert "[main:1983]" not in daemon.output()
    times.set(wall_s=1001, uptime_s=30)
    times.begin_second_between_readings()
    line = "[main:1983] t_uptime=-5000000000, enable hdmi plug=0\n"
    daemon.wait_for_output(re.escape(line))
    daemon.wait_for_passes(3)
    assert ask_uptime(receiver) == -5_000_000_000, "the second counts as measured"
    for output in (daemon.output(), text_of(LOG)):
        assert re.findall(r"\[main:1983\].*\n", output) == [line]
    times.set(wall_s=1003, uptime_s=30)
    wait_for_uptime(receiver, 30)


def test_the_window_is_open_at_120_seconds_over_at_121_and_over_for_good(device):
    receiver = device.udp_receiver()
    device.write_settings(window_event(receiver))
    times = MainThreadTimes(device, wall_s=1000, uptime_s=120)
    daemon = device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_supervision()
    times.set(wall_s=1001, uptime_s=120)
    skipped = "[exec_event:836] during Power On, skip DVIConnected ...120/120\n"

    def skipped_at_120():
        assert request(b"DVIConnected\n") == b"DVIConnected\n"
        return skipped in daemon.output()

    wait_until(skipped_at_120, "the uptime of 120 is measured")
    count = daemon.output().count(skipped)
    assert request(b"DVIConnected\n") == b"DVIConnected\n"
    daemon.wait_for_output(re.escape(skipped), count=count + 1)
    assert receiver.arrivals == []

    def sent(data):
        assert request(b"DVIConnected\n") == b"DVIConnected\n"
        return [arrival for arrival in receiver.arrivals if arrival.data == data]

    times.set(wall_s=1002, uptime_s=121)
    wait_until(lambda: sent(b"121"), "an event is sent")
    skips = len(skipped_uptimes())
    times.set(wall_s=1003, uptime_s=5)
    wait_until(lambda: sent(b"5"), "an event is sent at a small uptime")
    assert len(skipped_uptimes()) == skips
