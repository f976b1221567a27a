"""Which event a trigger finds, told by what arrives."""

import re

import pytest

from harness import Device, event, request


@pytest.fixture(scope="module")
def lookups():
    """A daemon with several events; call it with a trigger to get the data of what was sent."""
    device = Device()
    device.enable()
    device.start_status_service()
    receiver = device.udp_receiver()

    def lamp(name, data, **options):
        return event(name, (receiver.ip, receiver.port, "UDP", data), **options)

    device.write_settings(
        lamp("Plain", b"plain")
        + lamp("Bedside", b"bedside", xml_field="Lamp")
        + lamp("Twice", b"first") + lamp("Twice", b"second")
        + lamp("One", b"one of two", xml_field="Shared") + lamp("Two", b"two of two", xml_field="Shared")
        + "PowerOnXMLfield=Boot\n" + lamp("PowerOn", b"power on", delay=0)
        + lamp("DVIConnected", b"plugged", delay=0, xml_field="Plug")
        + lamp("Empty", b"no trigger", xml_field="")
        + lamp("Wide", b"blank", xml_field=" wide ")
        + "NoneCount=0\n"
    )
    daemon = device.start_daemon("-d")
    daemon.wait_for_supervision()
    # The uptime is measured once a second; from then on no event is skipped.
    daemon.wait_for_passes(6)

    def look_up(trigger):
        """What a trigger sends; nothing when the daemon says that it has found no event."""
        sent, missed = len(receiver.arrivals), daemon.output().count("not found sys event=")
        assert request(trigger) == (trigger if trigger.endswith(b"\n") else trigger + b"\n")
        if daemon.output().count("not found sys event=") > missed:
            return None
        return receiver.wait_for(sent + 1)[sent].data

    look_up.daemon = daemon
    yield look_up
    device.end()


@pytest.mark.parametrize("trigger, data, reason", [
    (b"Plain", b"plain", "an event without a field of its own is known by its name"),
    (b"Plain\n", b"plain", "the line feed does not count"),
    (b"Plain\r\n", None, "a carriage return counts"),
    (b"plain", None, "case counts"),
    (b"Plain ", None, "blanks count"),
    (b"Plai", None, "a part is not enough"),
    (b"Plainly", None, "a longer text is another"),
    (b"Lamp", b"bedside", "a generic event is known by its field"),
    (b"Bedside", None, "a generic event with a field is not known by its name"),
    (b"Shared", b"one of two", "the first match of the list wins"),
    (b"PowerOn", b"power on", "a field before the delay of a built-in event is reset"),
    (b"Boot", None, "a field before the delay of a built-in event is reset"),
    (b"Plug", b"plugged", "a field behind the delay of a built-in event is kept"),
    (b"DVIConnected", None, "a field behind the delay of a built-in event is kept"),
    (b" wide ", b"blank", "blanks of the field count"),
    (b"wide", None, "blanks of the field count"),
    (b"None", None, "an event without steps does not exist"),
    (b"\n", b"no trigger", "an empty field is found by an empty text"),
    (b"Plain\nPlain\n", None, "two lines are one text that matches nothing"),
], ids=repr)
def test_a_trigger_finds_the_event_of_that_field(lookups, trigger, data, reason):
    assert lookups(trigger) == data, reason


def test_two_events_of_one_name_share_the_data_that_came_last(lookups):
    assert lookups(b"Twice") == b"second"


def test_a_trigger_that_finds_nothing_is_silent_but_for_the_debug_line(lookups):
    before = len(lookups.daemon.output())
    assert lookups(b"Nothing\n") is None
    new = re.sub(r"\[renew_macro_var:\d+\].*\n", "", lookups.daemon.output()[before:])
    assert re.fullmatch(
        r"\[handle_tcp_event:1434\] Recv\[8\]:key=Nothing\n,value=Nothing\n"
        r"\[push_event_back:\d+\] not found sys event=Nothing\n\n"
        r"\[handle_tcp_event:1461\] send\(\) Nothing\n\n",
        new,
    )
