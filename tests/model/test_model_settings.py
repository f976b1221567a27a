import pytest

from mirrors import ascii_mirror, raw_dump
from records import Record, read_records, split_key


@pytest.mark.parametrize("key, kind, name, field, index", [
    (b"PowerOnCount", 1, b"PowerOn", b"Count", b""),
    (b"PowerOnData1", 2, b"PowerOn", b"Data", b"1"),
    (b"DVIConnectedIP2", 2, b"DVIConnected", b"IP", b"2"),
    (b"EnableEvents", 0, b"EnableEvents", b"", b""),
    (b"DataEncode", 0, b"DataEncode", b"", b""),
    (b"GenericEventsCount", 1, b"GenericEvents", b"Count", b""),
    (b"FastCableDetectEvents", 0, b"FastCableDetectEvents", b"", b""),
    (b"PowerOnDataCount", 1, b"PowerOnData", b"Count", b""),
    (b"MyIPDelay", 1, b"MyIP", b"Delay", b""),
    (b"PortalData", 1, b"Portal", b"Data", b""),
    (b"", 0, b"", b"", b""),
    (b"XMLfield", 0, b"XMLfield", b"", b""),
    (b"ProtocolPort", 1, b"Protocol", b"Port", b""),
    (b"countCount", 1, b"count", b"Count", b""),
    (b"PowerOnCountX", 2, b"PowerOn", b"Count", b"X"),
    (b"CountCount", 0, b"CountCount", b"", b""),
    (b"HDMIPlugData", 2, b"HDM", b"IP", b"lugData"),
    (b"HDMIPlugCount", 1, b"HDMIPlug", b"Count", b""),
    (b"LampDataPort", 1, b"LampData", b"Port", b""),
    (b"LampPortData", 2, b"Lamp", b"Port", b"Data"),
    (b"LampCountCount", 2, b"Lamp", b"Count", b"Count"),
])
def test_a_key_splits_at_the_first_field_of_the_list(key, kind, name, field, index):
    assert split_key(key, b"v") == Record(kind, name, field, index, b"v")


@pytest.mark.parametrize("content, record", [
    (b"PowerOnCount=3=4\n", Record(1, b"PowerOn", b"Count", b"", b"3=4")),
    (b" PowerOnCount=3\n", Record(1, b" PowerOn", b"Count", b"", b"3")),
    (b"PowerOnCount=3\r\n", Record(1, b"PowerOn", b"Count", b"", b"3\r")),
    (b"PowerOnCount=", Record(1, b"PowerOn", b"Count", b"", b"")),
    (b"PowerOnCount= 3 \n", Record(1, b"PowerOn", b"Count", b"", b" 3 ")),
    (b"==\n", Record(0, b"", b"", b"", b"=")),
    (b"LampData=\xff\xfe\n", Record(1, b"Lamp", b"Data", b"", b"\xff\xfe")),
])
def test_a_line_keeps_its_key_and_value_exactly(content, record):
    assert read_records(content) == [record]


def test_lines_without_an_equals_sign_are_skipped():
    assert read_records(b"\n# comment\nPowerOnCount\n \n") == []


def test_the_default_text_gives_its_ten_records():
    content = (b"EnableEvents=true\nFastCableDetectEvents=false\nPowerOnCount=0\nPowerOnDelay=1\n"
               b"DVIConnectedCount=0\nDVIConnectedDelay=0\nDVIDisconnectedCount=0\nDVIDisconnectedDelay=0\n"
               b"GenericEventsCount=0\nDataEncode=HEX\n")
    assert read_records(content) == [
        Record(0, b"EnableEvents", b"", b"", b"true"),
        Record(0, b"FastCableDetectEvents", b"", b"", b"false"),
        Record(1, b"PowerOn", b"Count", b"", b"0"),
        Record(1, b"PowerOn", b"Delay", b"", b"1"),
        Record(1, b"DVIConnected", b"Count", b"", b"0"),
        Record(1, b"DVIConnected", b"Delay", b"", b"0"),
        Record(1, b"DVIDisconnected", b"Count", b"", b"0"),
        Record(1, b"DVIDisconnected", b"Delay", b"", b"0"),
        Record(1, b"GenericEvents", b"Count", b"", b"0"),
        Record(0, b"DataEncode", b"", b"", b"HEX"),
    ]


def test_a_line_that_fills_the_buffer_keeps_its_value_whole():
    value = b"4" * (2046 - len(b"LampData="))
    assert read_records(b"LampData=" + value + b"\nLampIP=1\n") == [
        Record(1, b"Lamp", b"Data", b"", value),
        Record(1, b"Lamp", b"IP", b"", b"1"),
    ]


def test_the_line_feed_alone_may_be_the_second_piece():
    value = b"4" * (2047 - len(b"LampData="))
    assert read_records(b"LampData=" + value + b"\n") == [Record(1, b"Lamp", b"Data", b"", value)]


def test_each_piece_of_a_long_line_is_split_by_itself():
    value = b"4" * (2047 - len(b"LampData="))
    assert read_records(b"LampData=" + value + b"5=6\n") == [
        Record(1, b"Lamp", b"Data", b"", value),
        Record(0, b"5", b"", b"", b"6"),
    ]
    assert read_records(b"LampData=" + value + b"56\n") == [Record(1, b"Lamp", b"Data", b"", value)]


def test_an_equals_sign_behind_the_cut_begins_an_empty_key():
    assert read_records(b"L" * 2047 + b"=2\n") == [Record(0, b"", b"", b"", b"2")]


def test_a_zero_byte_ends_the_value_and_hides_an_equals_sign():
    assert read_records(b"LampIP=1\x002\nLamp\0IP=1\nLampIP=3\n") == [
        Record(1, b"Lamp", b"IP", b"", b"1"),
        Record(1, b"Lamp", b"IP", b"", b"3"),
    ]


def test_mirrors_of_no_records_are_empty():
    assert ascii_mirror([]) == b""
    assert raw_dump([]) == b""


@pytest.mark.parametrize("content, ascii_text, dump", [
    (b"PowerOnData=414243\n", b"PowerOnData=ABC\n", b"PowerOnData=414243\n"),
    (b"PowerOnData1=48656C6C6F\n", b"PowerOnData1=Hello\n", b"PowerOnData1=48656C6C6F\n"),
    (b"PowerOnData=414\n", b"PowerOnData=A\x04\n", b"PowerOnData=414\n"),
    (b"PowerOnData=4\n", b"PowerOnData=\x04\n", b"PowerOnData=4\n"),
    (b"PowerOnData=zz\n", b"PowerOnData=", b"PowerOnData=zz\n"),
    (b"PowerOnData=0x41\n", b"PowerOnData=", b"PowerOnData=0x41\n"),
    (b"PowerOnData=410042\nLampIP=1\n", b"PowerOnData=ALampIP=1\n", b"PowerOnData=410042\nLampIP=1\n"),
    (b"PowerOnIP=1\r\n", b"PowerOnIP=1\r\n", b"PowerOnIP=1\r\n"),
    (b"PowerOnData=41\r\n", b"PowerOnData=A", b"PowerOnData=41\r\n"),
    (b"comment\nDataEncode=HEX\n", b"DataEncode=HEX\n", b"DataEncode=HEX\n"),
    (b"HDMIPlugData=41\n", b"HDMIPlugData=41\n", b"HDMIPlugData=41\n"),
])
def test_mirrors_write_every_record_back(content, ascii_text, dump):
    records = read_records(content)
    assert ascii_mirror(records) == ascii_text
    assert raw_dump(records) == dump
