"""The macros of the clock and of the uptime, and the moment at which they are read."""

import datetime
import re
import time

import pytest

from harness import event, request, wait_until


def expand(device, data, **options):
    """What a daemon sends for this data, and the local times before and after."""
    receiver = device.udp_receiver()
    device.write_settings(event("Show", (receiver.ip, receiver.port, "UDP", data)))
    daemon = device.start_daemon(**options)
    daemon.wait_for_supervision()
    before = datetime.datetime.now().replace(microsecond=0)
    assert request(b"Show\n") == b"Show\n"
    sent = receiver.wait_for(1)[0].data
    return sent, before, datetime.datetime.now()


def moments(before, after, pattern):
    """The texts that every second between the two local times gives."""
    texts = []
    while before <= after:
        texts.append(before.strftime(pattern).encode())
        before += datetime.timedelta(seconds=1)
    return texts


@pytest.mark.parametrize("data, pattern, reason", [
    (b"{{time}}", "%H:%M:%S", "the time"),
    (b"{{TIME}}", "%H:%M:%S", "case does not count"),
    (b"{{Time}}", "%H:%M:%S", "case does not count"),
    (b"{{date}}", "%Y-%m-%d ", "the date ends in one blank"),
    (b"{{DATE}}", "%Y-%m-%d ", "case does not count"),
    (b"{{Date}}", "%Y-%m-%d ", "case does not count"),
    (b"{{date}}{{time}}", "%Y-%m-%d %H:%M:%S", "both"),
    (rb"T={{time}}\r\n", "T=%H:%M:%S\r\n", "a macro and escapes"),
    (b"{{time\0 or so}}", "%H:%M:%S", "a zero byte ends the name"),
], ids=repr)
def test_the_clock_is_local(device, data, pattern, reason):
    sent, before, after = expand(device, data)
    assert sent in moments(before, after, pattern), reason


def test_the_uptime_is_a_plain_number(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Show", (receiver.ip, receiver.port, "UDP", b"{{UpTime}}|{{uptime}}")))
    device.start_daemon(uptime_s=1000).wait_for_supervision()

    def measured():
        count = len(receiver.arrivals)
        assert request(b"Show\n") == b"Show\n"
        data = receiver.wait_for(count + 1)[count].data
        return data != b"0|0" and data

    first, second = wait_until(measured, "the uptime is measured").split(b"|")
    assert re.fullmatch(rb"1[0-9]{3}", first)
    assert int(second) - int(first) in (0, 1)


def test_the_macros_are_those_of_the_moment_of_queueing(device):
    receiver = device.udp_receiver()
    step = (receiver.ip, receiver.port, "UDP")
    device.write_settings(event("Show", (*step, b"{{time}}", 0), (*step, b"{{time}}", 2500), delay=1))
    device.start_daemon().wait_for_supervision()
    before_s = time.monotonic()
    before = datetime.datetime.now().replace(microsecond=0)
    assert request(b"Show\n") == b"Show\n"
    after = datetime.datetime.now()
    first, second = receiver.wait_for(2)
    assert first.data == second.data
    assert first.data in moments(before, after, "%H:%M:%S")
    assert second.time_s - before_s >= 3.5


def test_a_status_variable_is_that_of_the_moment_of_queueing(bare_device):
    bare_device.enable()
    service = bare_device.tcp_receiver(port=50001, reply=b"a:old\rb:\rc:\rd:\re:\rf:\r")
    receiver = bare_device.udp_receiver()
    bare_device.write_settings(
        event("Late", (receiver.ip, receiver.port, "UDP", b"{{a}}"), delay=1)
        + event("Other", ("192.0.2.1", 9, "none", b""))
    )
    bare_device.start_daemon().wait_for_supervision()
    assert request(b"Late\n") == b"Late\n"
    service.reply = b"a:new\rb:\rc:\rd:\re:\rf:\r"
    asked = len(service.arrivals)
    assert request(b"Other\n") == b"Other\n"
    service.wait_for(asked + 1)
    assert receiver.wait_for(1)[0].data == b"old"
