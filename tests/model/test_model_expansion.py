import pytest

from expansion import LocalTime, expand_data, expand_macro, replace_all, split_pieces, unescape_data

NOW = LocalTime(2026, 3, 7, 9, 5, 2)


def expanded(data, variables=(), uptime=90):
    return expand_data(data, variables, NOW, uptime)


def test_a_time_macro_and_escapes_are_expanded():
    assert expanded(b"T={{time}}\\r\\n") == b"T=09:05:02\r\n"


@pytest.mark.parametrize("data, result", [
    (b"{{date}}", b"2026-03-07 "),
    (b"{{DATE}}{{Date}}", b"2026-03-07 2026-03-07 "),
    (b"{{tImE}}", b"09:05:02"),
    (b"{{uptime}}", b"90"),
    (b"{{UpTime}}", b"90"),
    (b"{{date\0x}}", b"2026-03-07 "),
    (b"{{\0date}}", b""),
    (b"{{ date}}", b""),
    (b"a{{unknown}}b", b"ab"),
    (b"{{}}", b""),
    (b"{{a{{b}}", b""),
    (b"{{{date}}}", b"}"),
    (b"a{{b", b"a{{b"),
    (b"a}}b", b"a}}b"),
    (b"}}{{date}}", b"}}2026-03-07 "),
    (b"{{date}}{{", b"2026-03-07 {{"),
    (b"{{}", b"{{}"),
    (b"{{date}", b"{{date}"),
    (b"{{time}}{{uptime}}", b"09:05:0290"),
    (b"\0{{uptime}}\0", b"\x0090\0"),
    (b"", b""),
])
def test_macros_between_double_braces(data, result):
    assert expanded(data) == result


def test_pieces_alternate_between_text_and_macros():
    assert split_pieces(b"a{{b}}{{c}}d") == [b"a", b"{{b}}", b"", b"{{c}}", b"d"]
    assert split_pieces(b"{{a{{b}}c}}") == [b"", b"{{a{{b}}", b"c}}"]


@pytest.mark.parametrize("variables, data, result", [
    ([(b"time", b"noon")], b"{{time}}", b"noon"),
    ([(b"time", b"noon")], b"{{Time}}", b"09:05:02"),
    ([(b"Time", b"noon")], b"{{time}}", b"09:05:02"),
    ([(b"Time", b"noon")], b"{{Time}}", b"noon"),
    ([(b"", b"empty")], b"{{}}", b"empty"),
    ([(b"a{{b", b"odd")], b"{{a{{b}}", b"odd"),
    ([(b"input", b"1"), (b"input", b"2")], b"{{input}}", b"1"),
    ([(b"input", b"1")], b"{{Input}}", b""),
    ([(b"input", b"1")], b"{{input\0}}", b""),
    ([(b"input", b"{{time}}")], b"{{input}}", b"{{time}}"),
    ([(b"input", b"a\\nb")], b"{{input}}", b"a\nb"),
    ([(b"input", b"\\")], b"{{input}}n", b"\n"),
])
def test_status_variables_answer_first(variables, data, result):
    assert expanded(data, variables) == result


def test_the_uptime_is_a_signed_decimal():
    assert expand_macro(b"uptime", [], NOW, -1) == b"-1"
    assert expand_macro(b"uptime", [], NOW, 0) == b"0"


@pytest.mark.parametrize("data, result", [
    (b"\\n\\r\\t", b"\n\r\t"),
    (b"\\t\\n\\r", b"\t\n\r"),
    (b"\\x41\\0\\\\", b"\\x41\\0\\\\"),
    (b"\\N", b"\\N"),
    (b"\\\\n", b"\\\n"),
    (b"\\\\nr", b"\\\nr"),
    (b"\\\\nn", b"\\\nn"),
    (b"\\", b"\\"),
    (b"n\\", b"n\\"),
])
def test_three_escapes_exist(data, result):
    assert unescape_data(data) == result


def test_replacing_starts_again_from_the_front():
    assert replace_all(b"aab", b"ab", b"") == b"a"
    assert replace_all(b"aabb", b"ab", b"") == b""
