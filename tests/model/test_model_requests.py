import pytest

from event_list import Entry, Step, build_event_list
from expansion import LocalTime
from lookup import Request, count_lookups, expanded_copy, find_entry, handle_request, next_due, stamped
from records import read_records

NOW = LocalTime(2026, 3, 7, 9, 5, 2)


def entries_of(content):
    return build_event_list(read_records(content))


@pytest.mark.parametrize("received, request_", [
    (b"PowerOn\n", Request(b"PowerOn\n", b"PowerOn\n", False, b"PowerOn\n", b"PowerOn\n", 1)),
    (b"PowerOn", Request(b"PowerOn", b"PowerOn", False, b"PowerOn\n", b"PowerOn\n", 1)),
    (b"a=b", Request(b"a", b"b", False, b"a\n", b"a\n", 1)),
    (b"a=b=c\n", Request(b"a", b"b=c\n", False, b"a\n", b"a\n", 1)),
    (b"=b", Request(b"", b"b", False, b"\n", b"\n", 1)),
    (b"a\nb\n", Request(b"a\nb\n", b"a\nb\n", False, b"a\nb\n", b"a\nb\n", 2)),
    (b"a\0b", Request(b"a", b"a", False, b"a\n", b"a\n", 1)),
    (b"__TEST__:PowerOn\n", Request(b"__TEST__:PowerOn\n", b"__TEST__:PowerOn\n", True, None, b"", 0)),
    (b"__SET__:k=1\n", Request(b"__SET__:k", b"1\n", True, None, b"", 0)),
    (b"_=__", Request(b"_", b"__", False, b"_\n", b"_\n", 1)),
])
def test_a_request_while_events_are_enabled(received, request_):
    assert handle_request(received, 1) == request_


@pytest.mark.parametrize("received, reply", [
    (b"PowerOn", b"Event Disabled, skip PowerOn"),
    (b"PowerOn\n", b"Event Disabled, skip PowerOn\n"),
    (b"PowerOn=1\n", b"Event Disabled, skip PowerOn"),
])
def test_a_request_while_events_are_disabled(received, reply):
    request = handle_request(received, 0)
    assert (request.trigger, request.reply, request.lookups) == (None, reply, 0)


def test_a_command_is_handed_over_while_events_are_disabled():
    assert handle_request(b"__SET__:k=1", 0) == Request(b"__SET__:k", b"1", True, None, b"", 0)


def test_a_request_is_cut_to_1023_bytes():
    assert handle_request(b"L" * 2000, 1).reply == b"L" * 1023 + b"\n"
    assert handle_request(b"L" * 1023 + b"=", 1).value == b"L" * 1023


@pytest.mark.parametrize("text, lookups", [
    (b"", 0), (b"a", 1), (b"a\n", 1), (b"\n", 1), (b"a\nb", 2), (b"a\nb\n", 2), (b"\n\n", 2), (b"\na", 2),
])
def test_a_text_is_looked_up_once_per_line(text, lookups):
    assert count_lookups(text) == lookups


def test_a_name_with_a_line_feed_finds_its_entry():
    entries = entries_of(b"PowerOnCount=1\n")
    assert find_entry(entries, b"PowerOn\n", 0) is entries[0]
    assert find_entry(entries, b"PowerOn", 0) is entries[0]
    assert find_entry(entries, b"PowerOn\n\n", 0) is None
    assert find_entry(entries, b"PowerOn\nPowerOn\n", 0) is None
    assert find_entry(entries, b"poweron", 0) is None
    assert find_entry(entries, b"PowerOn\r\n", 0) is None


def test_real_events_are_found_by_their_xml_field_and_test_events_by_their_name():
    entries = entries_of(b"GenericCount=1\nGenericXMLfield=Lamp\n")
    assert find_entry(entries, b"Lamp", 0) is entries[0]
    assert find_entry(entries, b"Generic", 0) is None
    assert find_entry(entries, b"Generic", 1) is entries[0]
    assert find_entry(entries, b"Lamp", 1) is None


def test_the_first_of_two_matching_entries_is_taken():
    entries = entries_of(b"LampCount=1\nLampCount=2\n")
    assert find_entry(entries, b"Lamp", 0) is entries[0]


def test_an_empty_trigger_finds_an_empty_xml_field():
    entries = entries_of(b"LampCount=1\nLampXMLfield=\n")
    assert find_entry(entries, b"\n", 0) is entries[0]


def test_an_expanded_copy_leaves_the_list_alone():
    steps = [Step(ip=b"1", data=b"{{uptime}}\\n"), Step()]
    entry = Entry(name=b"Lamp", xmlField=b"Lamp", delay=5, steps=steps)
    copy = expanded_copy(entry, 0, [], NOW, 7)
    assert [step.data for step in copy.steps] == [b"7\n", b""]
    assert (copy.delay, copy.steps[0].ip) == (5, b"1")
    assert entry.steps[0].data == b"{{uptime}}\\n"


def test_a_test_run_has_no_event_delay():
    assert expanded_copy(Entry(name=b"Lamp", delay=5), 1, [], NOW, 7).delay == 0


@pytest.mark.parametrize("delay, test, due", [
    (0, 0, 250),
    (5, 0, 5000000250),
    (-1, 0, -999999750),
    (2147483647, 0, 2147483647000000250),
    (5, 1, 250),
])
def test_a_record_is_due_its_delay_after_its_creation(delay, test, due):
    record = stamped(Entry(name=b"Lamp", delay=delay), 250, test)
    assert (record.t_ns_cread, record.t_ns_exec, record.test, record.has_run) == (250, due, test, 0)


def test_only_earlier_due_times_lower_the_next_one():
    assert next_due(0, 500) == 500
    assert next_due(500, 600) == 500
    assert next_due(500, 400) == 400
