import pytest

from client import parse_status_reply, printed_text
from status import parse_report, renewed_variables, variables_text

SIX = [(b"n%d" % i, b"v%d" % i) for i in range(6)]


@pytest.mark.parametrize("report, pairs", [
    (b"input:HDMI1\npower:on\n", [(b"input", b"HDMI1"), (b"power", b"on")]),
    (b"a:b:c\n", [(b"a", b"b:c")]),
    (b"x:\n", [(b"x", b"")]),
    (b":v\n", [(b"", b"v")]),
    (b"no colon\n\na:b\n", [(b"a", b"b")]),
    (b"name : value\n", [(b"name ", b" value")]),
    (b"a:1\na:2\n", [(b"a", b"1"), (b"a", b"2")]),
    (b"a:b", [(b"a", b"b")]),
    (b"a:b\0c\nd:e\n", [(b"a", b"b"), (b"d", b"e")]),
    (b"a\0:b\n", []),
    (b"", []),
])
def test_a_line_gives_the_text_before_and_behind_its_first_colon(report, pairs):
    assert parse_report(report) == pairs


def test_a_long_status_line_is_several_pieces():
    value = b"v" * (2047 - len(b"a:"))
    assert parse_report(b"a:" + value + b"b:c\n") == [(b"a", value), (b"b", b"c")]
    assert parse_report(b"a:" + value + b"bc\n") == [(b"a", value)]
    assert parse_report(b"a:" + value + b"\n") == [(b"a", value)]


def test_five_pairs_keep_the_list_and_six_replace_it():
    previous = [(b"old", b"1")]
    assert renewed_variables(previous, SIX[:5]) == previous
    assert renewed_variables(previous, SIX) == SIX
    assert renewed_variables(previous, []) == previous


def test_the_variables_file_has_one_line_a_pair():
    assert variables_text([(b"name ", b" value"), (b"x", b""), (b"x", b"2")]) == b"name = value\nx=\nx=2\n"
    assert variables_text([]) == b""


@pytest.mark.parametrize("reply, printed", [
    (b"a: 1\nb:2\n", b"a=1\nb=2\n"),
    (b"a: 1\rb:2\r", b"a=1\nb=2\n"),
    (b"b:2\ra:1\r", b"a=1\nb=2\n"),
    (b"a:1\ra:2\r", b"a=1\n"),
    (b"a:x:y", b"a=x:y\n"),
    (b"a:: : v\n", b"a=v\n"),
    (b"a:\nb:2\n", b"a=\nb=2\n"),
    (b"a:", b""),
    (b"a: ", b""),
    (b"a:1\nb: :", b"a=1\n"),
    (b"a:\tv\n", b"a=\tv\n"),
    (b" a :v\n", b" a =v\n"),
    (b"head\na:1\n", b"head\na=1\n"),
    (b"a:1\r\nb:2\r\n", b"\nb=2\na=1\n"),
    (b"a:1\n\0b:2\n", b"a=1\n"),
    (b"\xe9:1\nz:2\n", b"z=2\n\xe9=1\n"),
    (b"(111)Connection refused", b""),
    (b"", b""),
])
def test_the_client_prints_the_pairs_in_the_order_of_their_keys(reply, printed):
    assert printed_text(reply) == printed


def test_a_key_keeps_its_first_value():
    assert parse_status_reply(b"a:1\na:2\n") == {b"a": b"1"}
