"""userconfigtool, run as a user runs it."""

import json
import os
import signal
import subprocess
import time

import pytest

from programs import DEADLINE_S, TOOL, WORLD, output, run


def config(store, *arguments):
    return run(TOOL, "--store", str(store), *arguments)


def get(store, assignment, kind="boolean"):
    done = config(store, "get", kind, assignment)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def put(store, assignment, kind="boolean"):
    done = config(store, "set", kind, assignment)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def listing(store):
    done = config(store, "list")
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


@pytest.mark.parametrize("default", ["true", "false"])
def test_missing_store_gives_the_default(store, default):
    assert get(store, f"network.ruvo.enable={default}") == f"{default}\n"
    assert not store.exists()


@pytest.mark.parametrize("value, other", [("true", "false"), ("false", "true")])
def test_stored_value_is_read_back(store, value, other):
    put(store, f"network.ruvo.enable={value}")
    assert get(store, f"network.ruvo.enable={other}") == f"{value}\n"
    assert json.loads(store.read_text()) == {"network": {"ruvo": {"enable": value == "true"}}}


def test_update_keeps_everything_else_in_its_order(store):
    store.write_text('{"z": [1, 2.5, null], "network": {"name": "\\u00e9", "ruvo": {"enable": true}}}')
    put(store, "network.ruvo.enable=false")
    put(store, "a=true")
    expected = {"z": [1, 2.5, None], "network": {"name": "é", "ruvo": {"enable": False}}, "a": True}
    stored = json.loads(store.read_text())
    assert stored == expected
    assert list(stored) == list(expected)


@pytest.mark.parametrize("text", ['{"a": {"b": "true"}}', '{"a": {"b": 1}}', '{"a": {"b": {}}}',
                                  '{"a": true}', '{"a.b": true}', ""])
def test_value_that_is_no_boolean_gives_the_default(store, text):
    store.write_text(text)
    assert get(store, "a.b=false") == "false\n"


@pytest.mark.parametrize("text", ["{", "[]", "true", '{"a": tru}', "\0"])
def test_corrupt_store_is_reported_and_never_overwritten(store, text):
    store.write_text(text)
    read = config(store, "get", "boolean", "a=true")
    assert (read.returncode, read.stdout) == (0, "true\n")
    assert str(store) in read.stderr
    written = config(store, "set", "boolean", "a=true")
    assert (written.returncode, written.stdout) == (1, "")
    assert str(store) in written.stderr
    assert store.read_text() == text


@pytest.mark.parametrize("key", ["a.b.c", "a.b.c.d", "list.x", "section"])
def test_key_across_another_kind_of_value_is_refused(store, key):
    text = '{"a": {"b": "text"}, "list": [], "section": {"x": true}}'
    store.write_text(text)
    done = config(store, "set", "boolean", f"{key}=true")
    assert done.returncode == 1
    assert "object" in done.stderr
    assert store.read_text() == text


@pytest.mark.parametrize("arguments", [
    [], ["get"], ["get", "boolean"], ["boolean", "get", "a=true"], ["get", "text", "a=true"],
    ["set", "boolean", "a"], ["set", "boolean", "a="], ["set", "boolean", "a=1"],
    ["set", "boolean", "a=TRUE"], ["set", "boolean", "a=true "], ["set", "boolean", "a=true\n"],
    ["set", "boolean", "a=b=true"], ["set", "boolean", "=true"], ["set", "boolean", ""],
    ["set", "boolean", ".a=true"], ["set", "boolean", "a.=true"], ["set", "boolean", "a..b=true"],
    ["set", "boolean", b"\xff=true"], ["set", "boolean", "a=true", "b=true"],
    ["set", "integer", "a"], ["set", "integer", ".=1"], ["set", "double", "a"], ["set", "string", "a"],
    ["set", "string", "=text"], ["set", "other", "a={}"], ["set", "null", "a=null"], ["get", "array", "a=[]"],
    ["list", "a"], ["list", "boolean"], ["list", "boolean", "a=true"], ["list", "list"],
    ["remove", "boolean", "a=true"],
])
def test_bad_tool_arguments_leave_the_store_alone(store, arguments):
    text = ' {"a":false}'
    store.write_text(text)
    done = config(store, *arguments)
    assert (done.returncode, done.stdout) == (2, "")
    assert "Usage: userconfigtool " in done.stderr
    assert store.read_text() == text
    assert os.listdir(store.parent) == [store.name]


# --- the other types


@pytest.mark.parametrize("kind, text", [
    *(("integer", text) for text in ["", "1.0", "1e3", "0x1", "1 ", " 1", "+1", "--1", "-", "true",
                                     "2147483648", "-2147483649", "4294967297", "99999999999999999999"]),
    *(("double", text) for text in ["", "nan", "inf", "-infinity", "1e999", "0x1p3", "1,5", "1.5x", " 1.5",
                                    "+1.5", ".", "true"]),
    ("string", b"\xff"), ("string", b"\xc3"),
])
@pytest.mark.parametrize("action", ["get", "set"])
def test_text_that_is_no_value_of_the_type_is_a_usage_error(store, action, kind, text):
    store.write_text('{"a":false}')
    done = config(store, action, kind, b"a=" + (text if isinstance(text, bytes) else text.encode()))
    assert (done.returncode, done.stdout) == (2, "")
    assert "Usage: userconfigtool " in done.stderr
    assert store.read_text() == '{"a":false}'


@pytest.mark.parametrize("kind, text, stored", [
    ("integer", "0", "0"), ("integer", "-7", "-7"), ("integer", "-0", "0"), ("integer", "007", "7"),
    ("integer", "2147483647", "2147483647"), ("integer", "-2147483648", "-2147483648"),
    ("double", "2", "2.0"), ("double", "2.5", "2.5"), ("double", "-0.125", "-0.125"), ("double", ".5", "0.5"),
    ("double", "1e3", "1000.0"), ("double", "1E+300", "1e+300"),
    ("double", "123456789012345678", "1.2345678901234568e+17"),
])
def test_number_is_stored_as_what_it_is(store, kind, text, stored):
    put(store, f"a.b={text}", kind)
    assert "".join(store.read_text().split()) == '{"a":{"b":%s}}' % stored
    assert get(store, "a.b=1", kind) == f"{stored}\n"


@pytest.mark.parametrize("text", ["", "plain", "a=b=c", "=", " spaces ", "größer ✓ 😀", 'quo"te',
                                  "back\\slash", "line\nfeed", "\x1b\x7f", "true", "-5", "--store", "[x,y]",
                                  "{}", "%%"])
def test_string_is_stored_as_it_is(store, text):
    put(store, f"a.b={text}", "string")
    assert json.loads(store.read_text()) == {"a": {"b": text}}
    assert get(store, "a.b=default", "string") == f"{text}\n"


@pytest.mark.parametrize("kind, default", [("integer", "007"), ("double", "2"), ("double", "1e3"),
                                           ("string", ""), ("string", "a=b")])
def test_default_is_printed_as_given(store, kind, default):
    assert get(store, f"a={default}", kind) == f"{default}\n"
    assert not store.exists()


VALUES = {"boolean": True, "integer": 7, "double": 2.5, "string": "text", "null": None, "array": [1],
          "object": {"x": 1}}
# A value of each type that is a default, and the one of VALUES.
TYPES = {"boolean": ("false", "true"), "integer": ("1", "7"), "double": ("1.5", "2.5"),
         "string": ("1", "text")}


@pytest.mark.parametrize("name", VALUES)
@pytest.mark.parametrize("kind", TYPES)
def test_value_of_another_type_gives_the_default(store, kind, name):
    store.write_text(json.dumps(VALUES))
    default, stored = TYPES[kind]
    assert get(store, f"{name}={default}", kind) == (stored if name == kind else default) + "\n"


@pytest.mark.parametrize("value", [2147483648, -2147483649, 2**64 - 1])
def test_stored_integer_beyond_32_bits_gives_the_default(store, value):
    store.write_text(json.dumps({"a": value}))
    assert get(store, "a=42", "integer") == "42\n"


@pytest.mark.parametrize("old", VALUES)
@pytest.mark.parametrize("kind", TYPES)
def test_only_a_section_is_not_replaced(store, kind, old):
    store.write_text(json.dumps({"a": VALUES[old]}))
    done = config(store, "set", kind, f"a={TYPES[kind][1]}")
    assert done.returncode == (1 if old == "object" else 0)
    assert json.loads(store.read_text()) == {"a": VALUES[old if old == "object" else kind]}


# --- list


@pytest.mark.parametrize("text", [None, "", "{}"])
def test_nothing_is_listed_when_nothing_is_set(store, text):
    if text is not None:
        store.write_text(text)
    assert listing(store) == ""


def test_every_value_has_a_line_in_the_order_of_the_store(store):
    store.write_text(json.dumps({
        "z": {"on": True, "deep": {"er": -7}},
        "volume": 2.0, "name": "größer", "big": 2**64 - 1,
        "a": {"nothing": None, "list": [1, {"x": "y"}], "section": {}, "off": False}}))
    assert listing(store) == """\
boolean z.on=true
integer z.deep.er=-7
double volume=2.0
string name="größer"
integer big=18446744073709551615
other a.nothing=null
other a.list=[1,{"x":"y"}]
other a.section={}
boolean a.off=false
"""


def test_no_text_breaks_its_line(store):
    store.write_text(json.dumps({"line\nfeed": 'a\n\r\t"\\\0\x1b', "list": ["\n"]}))
    assert listing(store) == r"""string "line\nfeed"="a\n\r\t\"\\\u0000\u001b"
other list=["\n"]
"""


@pytest.mark.parametrize("name, shown", [
    ("", '""'), ("a.b", '"a.b"'), ("a=b", '"a=b"'), ('quo"te', r'"quo\"te"'), ("with space", "with space"),
    ("größer", "größer"),
])
def test_name_that_no_key_can_hold_is_quoted(store, name, shown):
    store.write_text(json.dumps({"top": {name: {"x": 1}}}))
    assert listing(store) == f"integer top.{shown}.x=1\n"


def test_listed_values_can_be_set_again(store, tmp_path):
    store.write_text(json.dumps({name: VALUES[name] for name in TYPES}))
    other = tmp_path / "other.json"
    for line in listing(store).splitlines():
        kind, assignment = line.split(" ", 1)
        key, value = assignment.split("=", 1)
        put(other, f"{key}={json.loads(value) if kind == 'string' else value}", kind)
    assert json.loads(other.read_text()) == json.loads(store.read_text())


def test_corrupt_store_is_not_listed(store):
    store.write_text("[]")
    done = config(store, "list")
    assert (done.returncode, done.stdout) == (1, "")
    assert str(store) in done.stderr


def test_output_that_cannot_be_written_is_a_failure(store):
    put(store, "a=true")
    for arguments in (["get", "boolean", "a=true"], ["list"]):
        done = run("sh", "-c", 'exec "$@" > /dev/full', "sh", TOOL, "--store", str(store), *arguments)
        assert done.returncode == 1


def test_help_shows_examples():
    text = output(TOOL, "--help")
    for kind in TYPES:
        assert f"set {kind} " in text
    assert "list\n" in text


# --- the file


def test_environment_names_the_store_and_the_option_wins(tmp_path):
    by_environment, by_option = tmp_path / "environment.json", tmp_path / "option.json"
    environment = {**os.environ, "RUVO_USER_CONFIG": str(by_environment)}
    output(TOOL, "set", "boolean", "a=true", env=environment)
    output(TOOL, "--store", str(by_option), "set", "boolean", "b=true", env=environment)
    assert json.loads(by_environment.read_text()) == {"a": True}
    assert json.loads(by_option.read_text()) == {"b": True}


def test_store_of_the_device_is_the_default():
    environment = {name: value for name, value in os.environ.items() if name != "RUVO_USER_CONFIG"}
    script = f"{TOOL} set boolean a=true && cat /mnt/configs/user_config.json"
    assert json.loads(output(WORLD, "sh", "-c", script, env=environment)) == {"a": True}


def test_missing_folders_are_made(tmp_path):
    store = tmp_path / "one" / "two" / "store.json"
    put(store, "a=true")
    assert get(store, "a=false") == "true\n"


def test_link_and_permissions_of_the_store_survive_an_update(tmp_path):
    real, link = tmp_path / "real.json", tmp_path / "link.json"
    real.write_text("{}")
    real.chmod(0o600)
    link.symlink_to(real)
    put(link, "a=true")
    assert link.is_symlink()
    assert json.loads(real.read_text()) == {"a": True}
    assert real.stat().st_mode & 0o777 == 0o600


def test_parallel_writers_lose_nothing(store):
    writers, updates = 8, 10
    loop = f'for k in $(seq {updates}); do {TOOL} --store {store} set boolean $0.k$k=true || exit 1; done'
    processes = [subprocess.Popen(["sh", "-c", loop, f"w{i}"]) for i in range(writers)]
    assert [process.wait(DEADLINE_S) for process in processes] == [0] * writers
    stored = json.loads(store.read_text())
    assert stored == {f"w{i}": {f"k{k + 1}": True for k in range(updates)} for i in range(writers)}


# Long enough for a store to be caught half written.
FILLER = {f"key{i}": "x" * 1000 for i in range(500)}


def test_reader_sees_only_whole_stores(store):
    store.write_text(json.dumps(FILLER))
    loop = f"for k in $(seq 20); do {TOOL} --store {store} set boolean k$k=true || exit 1; done"
    with subprocess.Popen(["sh", "-c", loop]) as writer:
        while writer.poll() is None:
            assert json.loads(store.read_text()).items() >= FILLER.items()
    assert writer.returncode == 0


def test_killed_writer_leaves_a_whole_store(store):
    store.write_text(json.dumps(FILLER))
    done = {}
    killed = 0
    for i in range(60):
        with subprocess.Popen([TOOL, "--store", store, "set", "boolean", f"k{i}=true"]) as writer:
            time.sleep(i * 0.0002)  # another moment each time
            writer.kill()
        killed += writer.returncode == -signal.SIGKILL
        if writer.returncode == 0:
            done[f"k{i}"] = True
        stored = json.loads(store.read_text())
        assert stored.items() >= {**FILLER, **done}.items()
        done = {key: value for key, value in stored.items() if key not in FILLER}
    assert killed > 0
    put(store, "last=true")
    assert json.loads(store.read_text()) == {**FILLER, **done, "last": True}
