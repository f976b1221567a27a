"""The wall clock and the uptime jump: what is due stays due, and what shows the time shows the new one."""

import calendar
import errno
import math
import os
import re
import time

import pytest
from clocks import uptime, wall_clock
from fault_orders import ALWAYS, LIBRARY, CallOrders
from harness import EVENT_LOG, LOG, SETTINGS, event, request, text_of, touch, trigger, wait_until


def moment(text):
    return calendar.timegm(time.strptime(text, "%Y-%m-%d %H:%M:%S"))


TIMES = {
    "1970": 5,
    "before 1970": -86400 * 365,
    "1999": moment("1999-12-31 23:59:58"),
    "the end of 31 bits": (1 << 31) - 2,
    "2040": moment("2040-02-29 12:00:00"),
    "the end of 32 bits": (1 << 32) - 2,
    "9999": moment("9999-12-31 23:59:57"),
}
QUICK = ("1970", "the end of 31 bits")


@pytest.fixture
def wall(plant):
    """The plant's daemon with a wall clock of its own, in UTC; somebody listens to the time."""
    plant.watcher = plant.device.udp_receiver()
    plant.settings += event("Time", (plant.watcher.ip, plant.watcher.port, "UDP", b"{{date}}{{time}}"))
    plant.device.write_settings(plant.settings)
    plant.device.environment["TZ"] = "UTC"
    return wall_clock(plant.device)


def shown_times(plant):
    """The time that a macro shows and that of the event log's last line, as seconds."""
    count = len(plant.watcher.arrivals)
    trigger("Time")
    shown = plant.watcher.wait_for(count + 1)[count].data.decode()
    logged = text_of(EVENT_LOG).splitlines()[-1].split("  ")[0]
    return [as_seconds(text) for text in (shown, logged)]


def as_seconds(text):
    numbers = re.match(r"(\d{4,})-(\d\d)-(\d\d) (\d\d):(\d\d):(\d\d)", text).groups()
    year, month, day, hour, minute, second = map(int, numbers)
    # timegm knows no year beyond 9999: the calendar repeats itself every 400 years.
    eras = (year - 2000) // 400
    return calendar.timegm((year - 400 * eras, month, day, hour, minute, second)) + eras * 146097 * 86400


def assert_close(times, expected):
    assert all(0 <= shown - expected < 20 for shown in times), (times, expected)


@pytest.mark.parametrize(
    "name", [pytest.param(name, marks=() if name in QUICK else pytest.mark.full) for name in TIMES]
)
def test_a_jump_to_another_time_and_back_disturbs_nothing(plant, wall, name):
    plant.start(preload=[wall.library])
    target = TIMES[name]
    wall.set(math.ceil(target - time.time()))
    trigger("Later")
    # Due by the steady clock, and not by the wall clock, which jumps again meanwhile.
    start = time.monotonic()
    assert_close(shown_times(plant), target)
    assert plant.udp.wait_for(1)[0].data == b"later"
    assert time.monotonic() - start < 10
    reloads = plant.daemon.reloads()
    touch()
    plant.daemon.wait_for_reloads(reloads + 1)
    plant.deliver()
    # The uptime is measured again whenever the second is another one, whichever.
    wall.set(0)
    assert_close(shown_times(plant), int(time.time()) - 10)
    assert "cannot send" not in plant.daemon.output()
    plant.recover()


@pytest.mark.full
def test_a_wall_clock_that_jumps_to_and_fro_all_the_time(plant, wall):
    daemon = plant.start(preload=[wall.library])
    for number, target in enumerate((0, 4e9, 1e9, -1e9, 2e9, 2.5e11, 0, 3e9)):
        wall.set(target - (time.time() if number % 2 else 0))
        plant.deliver_plain()
    wall.set(0)
    assert daemon.output().count("[handle_tcp_event:1461] send() Hall\n\n") == 8
    plant.recover()


def test_an_uptime_that_is_counted_by_the_wall_clock_follows_its_jumps(plant, wall):
    """Without the system's uptime it is the time since the start of supervision, even a negative one."""
    receiver = plant.device.udp_receiver()
    ask = event("Ask", (receiver.ip, receiver.port, "UDP", b"{{uptime}}"))
    plant.device.write_settings(plant.settings + ask)
    CallOrders(plant.device).fail("sysinfo", errno.EFAULT, times=ALWAYS)
    plant.start(preload=[wall.library, LIBRARY])

    def uptime_is_about(expected):
        def asked():
            count = len(receiver.arrivals)
            trigger("Ask")
            return 0 <= int(receiver.wait_for(count + 1)[count].data) - expected < 30

        wait_until(asked, f"the uptime is about {expected} s")

    uptime_is_about(0)
    for jump in (10**9, -10**9, -5 * 10**9, 10**11):
        wall.set(jump)
        uptime_is_about(jump)
    wall.set(0)
    plant.recover()


@pytest.mark.full
@pytest.mark.parametrize("time_s", [-1, 1, (1 << 31) - 1, 1 << 31, 1 << 32, 15 * 10**9])
def test_settings_of_any_modification_time_are_read(plant, time_s):
    daemon = plant.start()
    before = daemon.reloads()
    os.utime(SETTINGS, (time_s, time_s))
    daemon.wait_for_reloads(before + 1)
    touch()
    daemon.wait_for_reloads(before + 2)
    plant.recover()


@pytest.mark.full
def test_a_jump_while_it_waits_for_the_status_service_does_not_end_or_prolong_the_wait(plant, wall):
    items = text_of("/tmp/device/status_items.txt")
    plant.device.status_items("")
    daemon = plant.device.start_daemon(preload=[wall.library])
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.1\n")
    wall.set(-10**9)
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.3\n")
    plant.device.status_items(items)
    plant.daemon = daemon
    daemon.wait_for_supervision()
    plant.note_footprint()
    plant.recover()


@pytest.mark.parametrize(
    "jump", [-5000, *(pytest.param(1 << bits, marks=pytest.mark.full) for bits in (31, 40))]
)
def test_an_uptime_that_jumps_is_shown_and_does_not_open_the_window_again(plant, jump):
    receiver = plant.device.udp_receiver()
    plant.device.write_settings(
        plant.settings + event("DVIConnected", (receiver.ip, receiver.port, "UDP", b"{{uptime}}"))
    )
    clock = uptime(plant.device)
    daemon = plant.start(preload=[clock.library])
    before = int(float(text_of("/proc/uptime").split()[0]))

    def shown():
        count = len(receiver.arrivals)
        assert request(b"DVIConnected\n") == b"DVIConnected\n"
        return int(receiver.wait_for(count + 1)[count].data)

    def event_log_lines():
        return len(re.findall(r"  (?!skip).* UDP ", text_of(EVENT_LOG)))

    # Beyond 120 s the window is over for good.
    wait_until(lambda: request(b"DVIConnected\n") and receiver.arrivals, "the uptime is measured")
    wait_until(lambda: len(receiver.arrivals) == event_log_lines(), "what was triggered has been sent")
    seen = len(daemon.output()), len(text_of(EVENT_LOG))
    clock.set(jump)
    wait_until(lambda: 0 <= shown() - before - jump < 60, "the uptime is the new one")
    request(b"__SET__:network.ruvo.enable=0")
    assert request(b"Hall\n") == b"Event Disabled, skip Hall\n"
    request(b"__SET__:network.ruvo.enable=1")
    assert "during Power On" not in daemon.output()[seen[0] :]
    assert "skip uptime" not in text_of(EVENT_LOG)[seen[1] :]
    clock.set(0)
    wait_until(lambda: 0 <= shown() - before < 60, "the uptime is the machine's")
    assert "Error" not in text_of(LOG).replace("Error: fail command", "")
    plant.recover()
