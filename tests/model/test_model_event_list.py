import pytest

from c_numbers import InvalidArgument, OutOfRange
from event_list import build_event_list, event_list_text, hex_to_bytes, quotient_toward_zero
from records import read_records


def entries_of(content, long_bits=64):
    return build_event_list(read_records(content), long_bits)


@pytest.mark.parametrize("text, decoded", [
    (b"", b""),
    (b"48656C6C6F", b"Hello"),
    (b"ABC", b"\xab\x0c"),
    (b"414", b"\x41\x04"),
    (b"G1", b"\x00"),
    (b"1G", b"\x01"),
    (b" F", b"\x0f"),
    (b"-1", b"\xff"),
    (b"-F", b"\xf1"),
    (b"0x41", b"\x00\x41"),
    (b"zz", b"\x00"),
    (b"-", b"\x00"),
])
def test_hex_text_decodes_two_characters_a_byte(text, decoded):
    assert hex_to_bytes(text) == decoded


def test_no_count_records_give_an_empty_list_and_text():
    assert entries_of(b"PowerOnDelay=1\nPowerOnData0=41\n") == []
    assert event_list_text([]) == b""


@pytest.mark.parametrize("value, steps", [
    (b"3", 3),
    (b"3abc", 3),
    (b" 3", 3),
    (b"3=4", 3),
    (b"3\r", 3),
    (b"128", 128),
    (b"129", 128),
    (b"300", 128),
    (b"4294967297", 1),
])
def test_a_count_makes_that_many_steps_up_to_128(value, steps):
    entries = entries_of(b"LampCount=" + value + b"\n")
    assert [len(entry.steps) for entry in entries] == [steps]


@pytest.mark.parametrize("value", [
    b"0", b"-1", b"abc", b"", b"2147483648", b"4294967296", b"9223372036854775808",
])
def test_a_count_below_1_makes_no_entry(value):
    assert entries_of(b"LampCount=" + value + b"\nLampDelay=1\nLampDatax=41\n") == []


def test_a_short_long_changes_a_count_that_overflows():
    assert len(entries_of(b"LampCount=4294967297\n", long_bits=32)[0].steps) == 128


def test_a_repeated_count_makes_two_entries_that_both_get_the_properties():
    entries = entries_of(b"LampCount=1\nLampIP0=10.0.0.1\nLampCount=2\nLampDelay=5\n")
    assert [(entry.name, len(entry.steps), entry.steps[0].ip, entry.delay) for entry in entries] == [
        (b"Lamp", 1, b"10.0.0.1", 5),
        (b"Lamp", 2, b"10.0.0.1", 5),
    ]


def test_a_count_with_an_index_makes_no_entry():
    assert entries_of(b"LampCount0=3\n") == []


def test_records_may_stand_before_their_count():
    assert entries_of(b"LampIP0=10.0.0.1\nLampCount=1\n")[0].steps[0].ip == b"10.0.0.1"


@pytest.mark.parametrize("content, xml_field", [
    (b"PowerOnCount=1\n", b"PowerOn"),
    (b"PowerOnCount=1\nPowerOnXMLfield=Lamp\n", b"Lamp"),
    (b"PowerOnCount=1\nPowerOnXMLfield=Lamp\nPowerOnDelay=0\n", b"PowerOn"),
    (b"PowerOnCount=1\nPowerOnDelay=0\nPowerOnXMLfield=Lamp\n", b"Lamp"),
    (b"DVIConnectedCount=1\nDVIConnectedXMLfield=Lamp\nDVIConnectedDelay=0\n", b"DVIConnected"),
    (b"DVIDisconnectedCount=1\nDVIDisconnectedXMLfield=Lamp\nDVIDisconnectedDelay=0\n", b"DVIDisconnected"),
    (b"DVIConnectedCount=1\nDVIConnectedXMLfield=Lamp\nDVIConnectedDelay0=1\n", b"Lamp"),
    (b"GenericCount=1\nGenericXMLfield=Lamp\nGenericDelay=1\n", b"Lamp"),
    (b"poweronCount=1\npoweronXMLfield=Lamp\npoweronDelay=1\n", b"Lamp"),
    (b"LampCount=1\nLampXMLfield=\n", b""),
])
def test_a_delay_gives_a_built_in_event_its_own_name_back(content, xml_field):
    assert entries_of(content)[0].xmlField == xml_field


@pytest.mark.parametrize("value, delay", [
    (b"5", 5),
    (b"-5", -5),
    (b"x", 0),
    (b"4294967301", 5),
    (b"2147483648", -2147483648),
    (b"9223372036854775808", -1),
])
def test_an_event_delay_is_cut_to_32_bits(value, delay):
    assert entries_of(b"LampCount=1\nLampDelay=" + value + b"\n")[0].delay == delay


def test_step_properties_are_taken_as_they_stand():
    content = b"LampCount=2\nLampProtocol1= UDP\r\nLampIP1=host\nLampPort1=80x\nLampData1=4100\n"
    step = entries_of(content)[0].steps[1]
    assert (step.protocol, step.ip, step.port, step.data) == (b" UDP\r", b"host", b"80x", b"A\0")


@pytest.mark.parametrize("index, i", [
    (b"0", 0),
    (b"007", 7),
    (b" 1", 1),
    (b"1x", 1),
    (b"4294967297", 1),
    (b"-18446744073709551614", 2),
])
def test_an_index_is_read_as_an_unsigned_long_and_cut(index, i):
    entry = entries_of(b"LampCount=8\nLampIP" + index + b"=here\n")[0]
    assert [n for n, step in enumerate(entry.steps) if step.ip == b"here"] == [i]


@pytest.mark.parametrize("index", [b"8", b"128", b"-1", b"18446744073709551615", b"4294967304"])
def test_an_index_beyond_the_steps_is_ignored(index):
    entry = entries_of(b"LampCount=8\nLampIP" + index + b"=here\n")[0]
    assert all(step.ip == b"" for step in entry.steps)


def test_index_128_of_a_count_of_300_is_ignored():
    entry = entries_of(b"LampCount=300\nLampIP127=last\nLampIP128=beyond\n")[0]
    assert len(entry.steps) == 128
    assert entry.steps[127].ip == b"last"
    assert b"beyond" not in [step.ip for step in entry.steps]


@pytest.mark.parametrize("key", [b"LampIPx", b"LampCountX", b"LampXMLfieldx", b"LampPort-", b"LampData "])
def test_an_index_without_digits_is_an_invalid_argument(key):
    with pytest.raises(InvalidArgument):
        entries_of(b"LampCount=1\n" + key + b"=1\n")


def test_an_index_beyond_the_unsigned_long_is_out_of_range():
    with pytest.raises(OutOfRange):
        entries_of(b"LampCount=1\nLampIP18446744073709551616=1\n")


def test_an_index_of_an_event_without_entry_is_never_read():
    assert entries_of(b"LampIPx=1\nPowerOnCount=0\nPowerOnIPx=1\n") == []


def test_step_delays_add_up_in_rising_order():
    entry = entries_of(b"LampCount=3\nLampDelay0=100\nLampDelay1=200\nLampDelay2=300\n")[0]
    assert [step.delayNs for step in entry.steps] == [100000000, 200000000, 300000000]
    assert [step.delayFromExecNs for step in entry.steps] == [100000000, 300000000, 600000000]


def test_step_delays_in_falling_order_see_neighbours_still_at_zero():
    entry = entries_of(b"LampCount=3\nLampDelay2=300\nLampDelay1=200\nLampDelay0=100\n")[0]
    assert [step.delayFromExecNs for step in entry.steps] == [100000000, 200000000, 300000000]


def test_a_step_delay_is_cut_to_32_bits_of_milliseconds():
    entry = entries_of(b"LampCount=2\nLampDelay0=2147483648\nLampDelay1=-1\n")[0]
    assert [step.delayNs for step in entry.steps] == [-2147483648000000, -1000000]
    assert [step.delayFromExecNs for step in entry.steps] == [-2147483648000000, -2147483649000000]


def test_the_text_shows_one_line_per_entry():
    content = (b"PowerOnCount=2\nPowerOnDelay=1\nPowerOnData0=4142\nPowerOnData1=4344\nPowerOnDelay1=500\n"
               b"LampCount=1\n")
    assert event_list_text(entries_of(content)) == (
        b"PowerOn;PowerOn;0:AB:0;1:CD:500;Delay=1;\n"
        b"Lamp;Lamp;0::0;Delay=0;\n")


def test_a_negative_delay_keeps_its_sign_in_the_text():
    content = b"LampCount=1\nLampDelay0=-7\nLampDelay=-2\n"
    assert event_list_text(entries_of(content)) == b"Lamp;Lamp;0::-7;Delay=-2;\n"
    assert quotient_toward_zero(-1500000, 1000000) == -1


def test_a_zero_byte_in_the_data_ends_its_line_of_the_text():
    content = b"LampCount=2\nLampData0=410042\nLiftCount=1\n"
    assert event_list_text(entries_of(content)) == b"Lamp;Lamp;0:ALift;Lift;0::0;Delay=0;\n"
