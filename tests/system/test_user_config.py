"""Reading the user configuration through the device's library."""

import errno
import json

import pytest

from fault_orders import ALWAYS, LIBRARY, CallOrders
from harness import LOG, STATE, USER_CONFIG, request, text_of, wait_until
from process import descriptors

ANSWERS, CALLS = STATE / "answers", STATE / "calls"
STAND_IN = "stand_in_user_config.so"


def value_of(key):
    """What the reading command answers behind the key and its equals sign."""
    key = key.encode()
    reply = request(b"__GET__:" + key + b"\n")
    assert reply.startswith(key + b"=") and reply.endswith(b"\n"), reply
    return reply[len(key) + 1 : -1].decode()


def store(tree):
    USER_CONFIG.write_text(tree if isinstance(tree, str) else json.dumps(tree))


# The simulated library and its store.


@pytest.mark.parametrize("kind, text, expected", [
    ("boolean", "true", "1"),
    ("boolean", "false", "0"),
    ("integer", "42", "42"),
    ("integer", "-7", "-7"),
    ("integer", "-2147483648", "-2147483648"),
    ("double", "2.5", "2.500000"),
    ("double", "-0.25", "-0.250000"),
    ("string", "Main hall", "Main hall"),
    ("string", "a=b", "a=b"),
    ("string", "", ""),
])
def test_what_the_tool_stores_is_read(bare_device, kind, text, expected):
    bare_device.start_daemon()
    bare_device.run_tool("set", kind, f"audio.main.value={text}")
    assert value_of("audio.main.value") == expected


def test_every_value_of_a_store_has_its_text(bare_device):
    store({
        "a": {"true": True, "false": False, "double": 2.5, "whole": 3.0, "large": 1e300, "int": 5,
              "text": "x y", "umlaut": "\u00e4", "null": None, "list": [1], "object": {"b": 1}},
        "flat": "without a dot",
    })
    bare_device.start_daemon()
    for key, expected, reason in (
        ("a.true", "1", "true"),
        ("a.false", "0", "false"),
        ("a.double", "2.500000", "a double"),
        ("a.whole", "3.000000", "a double without a fraction"),
        ("a.large", "%f" % 1e300, "a large double"),
        ("a.int", "5", "an integer"),
        ("a.text", "x y", "a string"),
        ("a.umlaut", "\u00e4", "beyond ASCII"),
        ("a.null", "", "no text for null"),
        ("a.list", "", "no text for a list"),
        ("a.object", "", "no text for an object"),
        ("a.object.b", "1", "below it"),
        ("a", "", "no text for a section"),
        ("flat", "without a dot", "the whole key is the section"),
        ("a.nothing", "", "an unknown key"),
        ("nothing.a", "", "an unknown section"),
        ("a.int.more", "", "a path through a value"),
        ("A.int", "", "case counts"),
        ("", "", "no key"),
        (".", "", "a dot alone"),
        (".a", "", "an empty section"),
        ("a.", "", "an empty name"),
        ("a..int", "", "an empty name between"),
        ('a".int', "", "a quote"),
        ('a":1}.int', "", "a quote and a brace"),
        ("\\.int", "", "a backslash"),
        ("a\t.int", "", "a control character"),
        ("%s%n.int", "", "percent signs"),
    ):
        assert value_of(key) == expected, reason


def test_a_section_is_cut_at_127_characters(bare_device):
    store({"x" * 127: {"a": 1}, "y" * 128: {"a": 2}, "z" * 127: 3})
    bare_device.start_daemon()
    assert value_of("x" * 127 + ".a") == "1"
    assert value_of("y" * 128 + ".a") == ""
    assert value_of("z" * 127) == "3"
    assert value_of("z" * 128) == ""


@pytest.mark.parametrize("text", [
    "", "{", "not JSON", "[1]", "null", '{"network": 1}', '{"network": {"ruvo": []}}',
])
def test_a_store_that_says_nothing_reads_empty(bare_device, text):
    store(text)
    daemon = bare_device.start_daemon()
    store(text)  # the start has stored a value of its own
    assert value_of("network.ruvo.enable") == ""
    assert "get_token_value" not in daemon.output() + text_of(LOG)


def test_a_missing_store_reads_empty(bare_device):
    bare_device.start_daemon()
    USER_CONFIG.unlink()
    assert value_of("network.ruvo.enable") == ""


def test_a_store_that_cannot_be_read_reads_empty(bare_device):
    bare_device.start_daemon()
    USER_CONFIG.unlink()
    USER_CONFIG.mkdir()
    assert value_of("network.ruvo.enable") == ""
    USER_CONFIG.rmdir()
    bare_device.enable()
    assert value_of("network.ruvo.enable") == "1"


def test_a_store_without_the_permission_to_read_it_reads_empty(bare_device):
    bare_device.enable()
    CallOrders(bare_device).fail("open_to_read", errno.EACCES, times=ALWAYS, only=str(USER_CONFIG))
    bare_device.start_daemon(preload=[LIBRARY])
    assert value_of("network.ruvo.enable") == ""


def test_a_change_of_the_store_is_read_at_once(bare_device):
    bare_device.start_daemon()
    for value in (True, False, True):
        bare_device.enable(value)
        assert value_of("network.ruvo.enable") == ("1" if value else "0")


def test_reading_the_switch_does_not_set_it(device):
    device.start_daemon()
    device.enable(False)
    assert value_of("network.ruvo.enable") == "0"
    assert request(b"Nobody") == b"Nobody\n"


def test_a_value_behind_the_key_does_not_count(device):
    device.start_daemon()
    assert request(b"__GET__:network.ruvo.enable=0\n") == b"network.ruvo.enable=1\n"
    assert value_of("network.ruvo.enable") == "1"


def test_the_query_is_told_while_debugging_only_on_standard_output(device):
    daemon = device.start_daemon("-d")
    value_of("network.ruvo.enable")
    value_of("flat")
    for line in ('json={"network":{}} key=network.ruvo.enable', 'json={"flat":{}} key=flat'):
        line = f"[get_token_value:1313] get user {line}\n"
        wait_until(lambda: line in daemon.output(), f"{line!r} on standard output")
    assert "get_token_value" not in text_of(LOG)


def test_reading_leaves_no_descriptor_behind(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    before = descriptors(daemon.pid)
    for key in ("network.ruvo.enable", "nothing", 'a".b') * 20:
        value_of(key)
    wait_until(lambda: descriptors(daemon.pid) == before, "the descriptors are as before")


# Another library in its place.


@pytest.fixture
def stand_in(bare_device):
    """Starts a daemon over a library that gives the answers of a text."""
    bare_device.environment["RUVO_STAND_IN_ANSWERS"] = str(ANSWERS)
    bare_device.environment["RUVO_STAND_IN_CALLS"] = str(CALLS)

    def start(answers):
        if answers is not None:
            ANSWERS.write_text(answers)
        return bare_device.start_daemon(preload=[STAND_IN])

    return start


def test_the_library_is_one_that_a_preloaded_one_replaces(stand_in):
    stand_in("network.ruvo.enable 6 from the stand-in\n")
    assert value_of("network.ruvo.enable") == "from the stand-in"


@pytest.mark.parametrize("answer, expected, getter", [
    ("1 1", "1", "boolean a.b\n"),
    ("1 0", "0", "boolean a.b\n"),
    ("1 -1", "-1", "boolean a.b\n"),
    ("2 2.5", "2.500000", "double a.b\n"),
    ("2 -0", "-0.000000", "double a.b\n"),
    ("2 1e308", "%f" % 1e308, "double a.b\n"),
    ("3 2147483647", "2147483647", "int a.b\n"),
    ("3 -2147483648", "-2147483648", "int a.b\n"),
    ("6 text = text", "text = text", "string a.b\n"),
    ("6", "", "string a.b\n"),
    ("0 1", "", ""),
    ("4 1", "", ""),
    ("5 1", "", ""),
    ("7 1", "", ""),
    ("-1 1", "", ""),
])
def test_each_type_is_read_with_its_getter_and_released(stand_in, answer, expected, getter):
    stand_in(f"a.b {answer}\n")
    assert value_of("a.b") == expected
    assert text_of(CALLS) == (
        f'query {{"a":{{}}}}\nwalk a.b\ntype {answer.split()[0]}\n{getter}put token\nput tree\n'
    )


def test_a_key_that_is_not_there_releases_the_tree(stand_in):
    stand_in("a.b 1 1\n")
    assert value_of("a.c") == ""
    assert text_of(CALLS) == 'query {"a":{}}\nwalk a.c\nput tree\n'


def test_a_store_that_does_not_answer_is_not_walked(stand_in):
    stand_in(None)
    assert value_of("a.b") == ""
    assert text_of(CALLS) == 'query {"a":{}}\n'


def test_a_key_goes_to_the_library_as_it_is(stand_in):
    stand_in("")
    for key, section in (("a", "a"), ("", ""), ('a".b', 'a"'), ("k" * 500 + ".b", "k" * 127)):
        CALLS.write_bytes(b"")
        assert value_of(key) == ""
        assert text_of(CALLS) == f'query {{"{section}":{{}}}}\nwalk {key}\nput tree\n'


def test_no_reference_is_left_after_many_readings(stand_in):
    stand_in("a.b 6 text\na.c 5\n")
    for _ in range(50):
        for key in ("a.b", "a.c", "a.d"):
            value_of(key)
    calls = text_of(CALLS).splitlines()
    assert calls.count('query {"a":{}}') == calls.count("put tree") == 150
    assert calls.count("put token") == 100


def test_nothing_but_the_reading_command_asks_the_library(stand_in):
    stand_in("")
    request(b"Lamp")
    request(b"__SET__:network.ruvo.enable=1")
    request(b"__TEST__:Lamp")
    request(b"__FOO__:a")
    assert not CALLS.exists()
