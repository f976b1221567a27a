import time

import pytest

from .check import LATEST_MS, compare, expand, plan, possible_bytes
from .receive import Arrival
from .scenario import Event, Send

SECOND_NS = 10**9
MS_NS = 10**6
# The machine was started 100 s before, and it was triggered at the begin of a second.
TRIGGER_NS = 1_700_000_000 * SECOND_NS
BOOT_NS = TRIGGER_NS - 100 * SECOND_NS
ECHO_NS = TRIGGER_NS + 10 * MS_NS
ITEMS = {"input": "HDMI1", "note": r"a\tb", "Date": "today"}
EVENT = Event("Lamp", 1, (Send("UDP", 5001, b"first", 20), Send("TCP", 5002, b"second", 30)))


def arrivals(*, first_ms=1020, second_ms=1050):
    return [
        Arrival(TRIGGER_NS + first_ms * MS_NS, 5001, "UDP", b"first"),
        Arrival(TRIGGER_NS + second_ms * MS_NS, 5002, "TCP", b"second"),
    ]


def compared(some):
    return compare(plan(EVENT, TRIGGER_NS, ECHO_NS), some, ITEMS, BOOT_NS)


@pytest.mark.parametrize("text, expected", [
    (rb"\r\n\t\x", b"\r\n\t\\x"),
    (b"{{input}}{{nobody}}{{}}.", b"HDMI1."),
    (b"{{note}}", b"a\tb"),
    (b"{{uptime}}", b"42"),
    (b"{{Date}}", b"today"),
    (b"}}{{input", b"}}{{input"),
    (b"{{a{{input}}", b""),
    (b"\xff", b"\xff"),
])
def test_expand_replaces_macros_first_and_escapes_last(text, expected):
    assert expand(text, ITEMS, 0, 42) == expected


@pytest.fixture
def utc(monkeypatch):
    with monkeypatch.context() as patch:
        patch.setenv("TZ", "UTC")
        time.tzset()
        yield
    time.tzset()


def test_a_date_has_a_blank_behind_it(utc):
    assert expand(b"{{date}}{{time}}", {}, 1_700_000_000, 0) == b"2023-11-14 22:13:20"


def test_clock_macros_may_show_any_second_between():
    assert len(possible_bytes(b"{{time}}", {}, TRIGGER_NS, TRIGGER_NS + 2 * SECOND_NS, BOOT_NS)) == 3


def test_an_uptime_may_be_two_seconds_old_or_rounded_up():
    shown = possible_bytes(b"{{uptime}}", {}, TRIGGER_NS, TRIGGER_NS, BOOT_NS)
    assert shown == {b"98", b"99", b"100", b"101"}


def test_what_is_in_time_is_right():
    assert compared(arrivals()) == []
    assert compared(arrivals(first_ms=1020 + 10 + LATEST_MS)) == []


def test_early_is_wrong():
    assert compared(arrivals(second_ms=1049)) == ["Lamp: b'second' came 1000 us early"]


def test_late_is_wrong():
    assert compared(arrivals(second_ms=1461)) == ["Lamp: b'second' came 401.0 ms late"]


def test_missing_is_wrong():
    assert compared(arrivals()[:1]) == ["Lamp: TCP b'second' has not arrived"]


def test_twice_is_wrong():
    assert compared(arrivals() + arrivals()[:1]) == ["UDP b'first' arrived unasked"]


def test_another_port_is_wrong():
    moved = Arrival(TRIGGER_NS + 1020 * MS_NS, 5009, "UDP", b"first")
    assert compared([moved, arrivals()[1]]) == [
        "Lamp: UDP b'first' has not arrived", "UDP b'first' arrived unasked",
    ]
