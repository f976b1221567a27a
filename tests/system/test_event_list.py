"""The event list: its text, its numbers, and what a malformed sub-command index costs."""

import re

import pytest

from harness import EVENT_LIST, LOG, event, request, text_of, touch, wait_until

MALFORMED = r"Error: \[\w+:\d+\] rebuild_ruvo_event_list\(\): stoul\n"


def listed(device, settings):
    """The text of the event list that a settings file gives."""
    device.write_settings(settings)
    device.start_daemon()
    return EVENT_LIST.read_bytes()


# The text.


def test_an_event_is_one_line(bare_device):
    settings = (
        "PowerOnCount=2\nPowerOnDelay=1\nPowerOnData0=4142\nPowerOnData1=4344\n"
        "PowerOnDelay0=0\nPowerOnDelay1=500\n"
    )
    assert listed(bare_device, settings) == b"PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n"


def test_no_count_gives_an_empty_file(bare_device):
    assert listed(bare_device, "PowerOnDelay=1\nPowerOnData0=41\n") == b""


def test_an_empty_list_is_reported_as_built(bare_device):
    bare_device.write_settings("")
    daemon = bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == b""
    assert daemon.reloads() == 1
    assert "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n" in text_of(LOG)


def test_events_stand_in_the_order_of_their_counts(bare_device):
    settings = "BDelay=1\nACount=1\nCCount=1\nBCount=1\n"
    assert listed(bare_device, settings) == (
        b"A;A;0::0;Delay=0;\nC;C;0::0;Delay=0;\nB;B;0::0;Delay=1;\n"
    )


def test_data_is_written_raw(bare_device):
    settings = "ACount=1\nAData0=3B3A0AFF80\nBCount=1\n"
    assert listed(bare_device, settings) == b"A;A;0:;:\n\xff\x80:0;Delay=0;\nB;B;0::0;Delay=0;\n"


def test_a_zero_byte_ends_the_line_with_its_line_end(bare_device):
    settings = "ACount=2\nAData0=410042\nAData1=43\nBCount=1\n"
    assert listed(bare_device, settings) == b"A;A;0:AB;B;0::0;Delay=0;\n"


def test_data_keeps_its_macros(bare_device):
    settings = event("A", ("192.0.2.1", 9, "UDP", b"{{date}}\\n"))
    assert listed(bare_device, settings) == b"A;A;0:{{date}}\\n:0;Delay=0;\n"


def test_a_rebuild_writes_the_file_from_its_start(device):
    device.write_settings("ACount=3\nBCount=1\n")
    daemon = device.start_daemon()
    device.change_settings(daemon, "CCount=1\n")
    wait_until(lambda: EVENT_LIST.read_bytes() == b"C;C;0::0;Delay=0;\n", "the file holds the new list")


def test_a_file_that_cannot_be_written_is_passed_over_in_silence(device):
    EVENT_LIST.mkdir()
    receiver = device.udp_receiver()
    device.write_settings(event("A", (receiver.ip, receiver.port, "UDP", b"on")))
    daemon = device.start_daemon()
    assert daemon.reloads() == 1
    assert "Error" not in daemon.output() + text_of(LOG)
    assert request(b"A") == b"A\n"
    assert receiver.wait_for(1)[0].data == b"on"


# Count.


@pytest.mark.parametrize("count, size, reason", [
    ("1", 1, "the plain number"),
    ("128", 128, "the largest number"),
    ("129", 128, "more than 128 is cut"),
    ("300", 128, "more than 128 is cut"),
    ("0", 0, "none is no event"),
    ("-1", 0, "fewer than none is no event"),
    ("3abc", 3, "what follows a number does not count"),
    ("abc", 0, "no number is none"),
    ("", 0, "no text is none"),
    (" 2", 2, "a leading blank is allowed"),
    ("+2", 2, "a sign is allowed"),
    ("0x3", 0, "the number is decimal"),
    ("4294967298", 2, "only 32 bits are kept"),
    ("2147483648", 0, "the 32 bits are signed"),
], ids=repr)
def test_count_gives_the_number_of_steps(bare_device, count, size, reason):
    steps = b"".join(b"%d::0;" % i for i in range(size))
    expected = b"A;A;" + steps + b"Delay=0;\n" if size else b""
    assert listed(bare_device, f"ACount={count}\n") == expected, reason


def test_two_counts_give_two_events_that_share_the_rest(bare_device):
    settings = "ACount=1\nACount=2\nADelay=3\nAData0=41\nAData1=42\n"
    assert listed(bare_device, settings) == b"A;A;0:A:0;Delay=3;\nA;A;0:A:0;1:B:0;Delay=3;\n"


def test_a_count_may_follow_what_it_counts(bare_device):
    assert listed(bare_device, "AData0=41\nADelay=2\nACount=1\n") == b"A;A;0:A:0;Delay=2;\n"


def test_an_event_without_a_count_is_ignored(bare_device):
    assert listed(bare_device, "BData0=41\nBDelay=3\nACount=1\n") == b"A;A;0::0;Delay=0;\n"


def test_an_event_whose_count_is_0_is_ignored(bare_device):
    settings = "PowerOnCount=0\nPowerOnDelay=1\nPowerOnData0=41\nPowerOnDataX=41\n"
    assert listed(bare_device, settings) == b""


def test_names_are_case_sensitive(bare_device):
    assert listed(bare_device, "ACount=1\naData0=41\naDelay=3\n") == b"A;A;0::0;Delay=0;\n"


def test_a_name_that_only_begins_alike_is_another(bare_device):
    assert listed(bare_device, "ACount=1\nABData0=41\nABDelay=3\n") == b"A;A;0::0;Delay=0;\n"


# Properties of the event.


@pytest.mark.parametrize("delay, shown, reason", [
    ("1", b"1", "the plain number"),
    ("-1", b"-1", "the sign is kept"),
    ("abc", b"0", "no number is none"),
    ("2s", b"2", "what follows a number does not count"),
    ("4294967297", b"1", "only 32 bits are kept"),
    ("2147483648", b"-2147483648", "the 32 bits are signed"),
], ids=repr)
def test_the_delay_of_an_event_is_in_seconds(bare_device, delay, shown, reason):
    assert listed(bare_device, f"ACount=1\nADelay={delay}\n") == b"A;A;0::0;Delay=%s;\n" % shown, reason


def test_the_last_of_two_delays_counts(bare_device):
    assert listed(bare_device, "ACount=1\nADelay=1\nADelay=2\n") == b"A;A;0::0;Delay=2;\n"


@pytest.mark.parametrize("name", ["PowerOn", "DVIConnected", "DVIDisconnected"])
def test_a_field_before_the_delay_of_a_built_in_event_is_reset(bare_device, name):
    settings = f"{name}Count=1\n{name}XMLfield=Lamp\n{name}Delay=0\n"
    assert listed(bare_device, settings) == f"{name};{name};0::0;Delay=0;\n".encode()


@pytest.mark.parametrize("name", ["PowerOn", "DVIConnected", "DVIDisconnected"])
def test_a_field_after_the_delay_of_a_built_in_event_is_kept(bare_device, name):
    settings = f"{name}Count=1\n{name}Delay=0\n{name}XMLfield=Lamp\n"
    assert listed(bare_device, settings) == f"{name};Lamp;0::0;Delay=0;\n".encode()


def test_the_delay_of_a_step_does_not_reset_the_field(bare_device):
    settings = "PowerOnCount=1\nPowerOnXMLfield=Lamp\nPowerOnDelay0=5\n"
    assert listed(bare_device, settings) == b"PowerOn;Lamp;0::5;Delay=0;\n"


def test_a_field_of_a_generic_event_is_always_kept(bare_device):
    settings = "ACount=1\nAXMLfield=Lamp\nADelay=0\npoweronCount=1\npoweronXMLfield=Lamp\npoweronDelay=0\n"
    assert listed(bare_device, settings) == (
        b"A;Lamp;0::0;Delay=0;\npoweron;Lamp;0::0;Delay=0;\n"
    )


def test_a_step_property_without_an_index_is_ignored(bare_device):
    assert listed(bare_device, "ACount=1\nAData=41\nAIP=b\n") == b"A;A;0::0;Delay=0;\n"


# Steps.


def test_an_index_beyond_the_count_is_ignored(bare_device):
    settings = "ACount=2\nAData1=41\nAData2=42\nAData128=43\nADelay2=5\n"
    assert listed(bare_device, settings) == b"A;A;0::0;1:A:0;Delay=0;\n"


def test_an_index_beyond_the_cut_count_is_ignored(bare_device):
    settings = "ACount=300\nAData127=41\nAData128=42\n"
    steps = b"".join(b"%d::0;" % i for i in range(127))
    assert listed(bare_device, settings) == b"A;A;" + steps + b"127:A:0;Delay=0;\n"


@pytest.mark.parametrize("index, shown, reason", [
    ("01", b"0::0;1:A:0;", "a leading zero does not count"),
    (" 1", b"0::0;1:A:0;", "a leading blank is allowed"),
    ("+1", b"0::0;1:A:0;", "a sign is allowed"),
    ("1x", b"0::0;1:A:0;", "what follows a number does not count"),
    ("0x1", b"0:A:0;1::0;", "the number is decimal"),
    ("4294967297", b"0::0;1:A:0;", "only 32 bits are kept"),
    ("-1", b"0::0;1::0;", "a negative index wraps to one far beyond the count"),
    ("-4294967295", b"0::0;1:A:0;", "a negative index wraps before 32 bits are kept"),
], ids=repr)
def test_an_index_is_read_as_an_unsigned_number(bare_device, index, shown, reason):
    assert listed(bare_device, f"ACount=2\nAData{index}=41\n") == b"A;A;" + shown + b"Delay=0;\n", reason


@pytest.mark.parametrize("data, shown, reason", [
    ("48656C6C6F", b"Hello", "two digits a byte"),
    ("48656c6c6f", b"Hello", "digits of both cases"),
    ("414", b"A\x04", "a lone last digit is a whole byte"),
    ("ABC", b"\xab\x0c", "a lone last digit is a whole byte"),
    ("1G", b"\x01", "reading stops at the first character that is no digit"),
    (" F", b"\x0f", "a leading blank is allowed"),
    ("-1", b"\xff", "a sign is allowed"),
    ("", b"", "nothing stays nothing"),
], ids=repr)
def test_data_is_decoded(bare_device, data, shown, reason):
    assert listed(bare_device, f"ACount=1\nAData0={data}\n") == (
        b"A;A;0:" + shown + b":0;Delay=0;\n"
    ), reason


@pytest.mark.parametrize("delay, shown, reason", [
    ("250", b"250", "the plain number"),
    ("-5", b"-5", "the sign is kept"),
    ("abc", b"0", "no number is none"),
    ("5ms", b"5", "what follows a number does not count"),
    ("2147483647", b"2147483647", "the largest number"),
    ("4294967301", b"5", "only 32 bits are kept"),
], ids=repr)
def test_the_delay_of_a_step_is_in_milliseconds(bare_device, delay, shown, reason):
    assert listed(bare_device, f"ACount=1\nADelay0={delay}\n") == (
        b"A;A;0::" + shown + b";Delay=0;\n"
    ), reason


def delays_from_start(device, settings):
    device.write_settings(settings)
    daemon = device.start_daemon("-d")
    line = r"\[rebuild_ruvo_event_list:620\] ns delay from exec=\((\d+)\)(-?\d+);\n"
    return re.findall(line, daemon.output())


def test_delays_in_rising_order_add_up(bare_device):
    settings = "ACount=3\nADelay0=100\nADelay1=200\nADelay2=300\n"
    assert delays_from_start(bare_device, settings) == [
        ("0", "100000000"), ("1", "300000000"), ("2", "600000000"),
    ]


def test_delays_in_falling_order_do_not_add_up(bare_device):
    settings = "ACount=3\nADelay2=300\nADelay1=200\nADelay0=100\n"
    assert delays_from_start(bare_device, settings) == [
        ("2", "300000000"), ("1", "200000000"), ("0", "100000000"),
    ]


def test_a_later_delay_adds_to_its_neighbour_as_it_stands(bare_device):
    settings = "ACount=3\nADelay0=100\nADelay2=300\nADelay1=200\nADelay2=50\n"
    assert delays_from_start(bare_device, settings) == [
        ("0", "100000000"), ("2", "300000000"), ("1", "300000000"), ("2", "350000000"),
    ]


def test_negative_delays_add_up_too(bare_device):
    assert delays_from_start(bare_device, "ACount=2\nADelay0=-100\nADelay1=30\n") == [
        ("0", "-100000000"), ("1", "-70000000"),
    ]


def test_large_delays_do_not_overflow(bare_device):
    settings = "ACount=2\nADelay0=2147483647\nADelay1=2147483647\n"
    assert delays_from_start(bare_device, settings) == [
        ("0", "2147483647000000"), ("1", "4294967294000000"),
    ]


# A malformed index.


@pytest.mark.parametrize("line, reason", [
    ("ADataX=41", "letters are no number"),
    ("AData =41", "a blank is no number"),
    ("ACountX=1", "the index is read before the field is looked at"),
    ("AXMLfield-=b", "a sign alone is no number"),
    ("AData99999999999999999999=41", "beyond the range"),
    ("AIPhone=b", "an event name that holds a field word"),
], ids=repr)
def test_a_malformed_index_at_a_start_leaves_no_events(bare_device, line, reason):
    bare_device.write_settings(f"ACount=1\nAData0=41\n{line}\n")
    daemon = bare_device.start_daemon()
    assert len(re.findall(MALFORMED, text_of(LOG))) == 1, reason
    assert len(re.findall(MALFORMED, daemon.output())) == 1
    assert daemon.reloads() == 0
    assert not EVENT_LIST.exists()


def test_a_start_goes_on_after_a_malformed_index(bare_device):
    bare_device.write_settings("ACount=1\nADataX=41\n")
    bare_device.start_daemon()
    assert re.search(MALFORMED + re.escape("[main:1931] ip=192.0.2.10\n"), text_of(LOG))
    assert request(b"A") == b"Event Disabled, skip A"


def test_a_malformed_index_of_an_event_without_a_count_is_ignored(bare_device):
    assert listed(bare_device, "ACount=1\nBDataX=41\nBCountX=1\n") == b"A;A;0::0;Delay=0;\n"


def test_a_malformed_index_keeps_the_previous_list(device):
    receiver = device.udp_receiver()
    good = event("A", (receiver.ip, receiver.port, "UDP", b"old"))
    device.write_settings(good)
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    listed_before = EVENT_LIST.read_bytes()
    device.replace_settings(event("A", (receiver.ip, receiver.port, "UDP", b"new")) + "ADataX=41\n")
    daemon.wait_for_output(MALFORMED)
    assert request(b"A") == b"A\n"
    assert receiver.wait_for(1)[0].data == b"old"
    assert EVENT_LIST.read_bytes() == listed_before
    assert daemon.reloads() == 1


def test_a_malformed_index_is_reported_once_for_each_change(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.replace_settings("ACount=1\nADataX=41\n")
    daemon.wait_for_output(MALFORMED)
    daemon.wait_for_passes(5)
    assert len(re.findall(MALFORMED, daemon.output())) == 1
    touch()
    daemon.wait_for_output(MALFORMED, count=2)
    daemon.wait_for_passes(5)
    assert len(re.findall(MALFORMED, daemon.output())) == 2
    assert len(re.findall(MALFORMED, text_of(LOG))) == 2


def test_mended_settings_are_read_after_a_malformed_index(device):
    device.write_settings("ACount=1\nADataX=41\n")
    daemon = device.start_daemon()
    device.change_settings(daemon, "ACount=1\nAData0=41\n")
    wait_until(lambda: text_of(EVENT_LIST) == "A;A;0:A:0;Delay=0;\n", "the mended list is built")


def test_the_switch_follows_although_the_index_is_malformed(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.enable(False)
    device.replace_settings("ACount=1\nADataX=41\n")
    daemon.wait_for_output(MALFORMED)
    assert request(b"A") == b"Event Disabled, skip A"


def test_the_test_list_is_not_written(bare_device):
    bare_device.start_daemon()
    assert not EVENT_LIST.with_name("ruvo_event_list_test.txt").exists()
