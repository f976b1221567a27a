"""The simulated device's library, called as the daemon calls it."""

import contextlib
import ctypes
import json
import sys

import pytest

from programs import PLATFORM_LIBRARY, TOOL, output, run

POINTER, TEXT, INT, DOUBLE = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_double
OPERATIONS = {
    "user_config_query_to_json_token": (POINTER, [TEXT]),
    "json_token_object_walk_get_token": (POINTER, [POINTER, TEXT]),
    "json_token_type": (INT, [POINTER]),
    "json_token_object_walk_get_boolean": (INT, [POINTER, TEXT, INT]),
    "json_token_object_walk_get_double": (DOUBLE, [POINTER, TEXT, DOUBLE]),
    "json_token_object_walk_get_int": (INT, [POINTER, TEXT, INT]),
    "json_token_object_walk_get_string": (TEXT, [POINTER, TEXT, TEXT]),
    "json_token_ref_put": (INT, [POINTER]),
}
NULL, BOOLEAN, REAL, INTEGER, OBJECT, ARRAY, STRING = range(7)
INT_MIN, INT_MAX = -2**31, 2**31 - 1


def loaded():
    library = ctypes.CDLL(PLATFORM_LIBRARY)
    for name, (result, arguments) in OPERATIONS.items():
        operation = getattr(library, name)
        operation.restype, operation.argtypes = result, arguments
    return library


library = loaded()
query = library.user_config_query_to_json_token
walk = library.json_token_object_walk_get_token
get_boolean = library.json_token_object_walk_get_boolean
get_double = library.json_token_object_walk_get_double
get_int = library.json_token_object_walk_get_int
get_string = library.json_token_object_walk_get_string
put = library.json_token_ref_put

ALL = b"{}"


@pytest.fixture(autouse=True)
def store_of_the_library(store, monkeypatch):
    monkeypatch.setenv("RUVO_USER_CONFIG", str(store))


@contextlib.contextmanager
def tree(query_text=ALL):
    """The answer to a query; nothing of it is left afterwards."""
    answer = query(query_text)
    assert answer is not None
    yield answer
    assert put(answer) == 0


def type_of(answer, key):
    """The type code at the key; nothing when nothing is there."""
    token = walk(answer, key)
    if token is None:
        return None
    code = library.json_token_type(token)
    assert put(token) == 1
    return code


def keys_of(query_text, keys):
    """Those of the keys that the answer to a query has."""
    with tree(query_text) as answer:
        return [key for key in keys if type_of(answer, key) is not None]


# --- values


@pytest.mark.parametrize("value, code", [
    ("null", NULL), ("true", BOOLEAN), ("false", BOOLEAN), ("2.5", REAL), ("2.0", REAL), ("1e3", REAL),
    ("0", INTEGER), ("-7", INTEGER), ("9223372036854775807", INTEGER), ("18446744073709551615", INTEGER),
    ("18446744073709551616", REAL), ("{}", OBJECT), ('{"c": 1}', OBJECT), ("[]", ARRAY), ('""', STRING),
])
def test_type_code(store, value, code):
    store.write_text('{"a": {"b": %s}}' % value)
    with tree() as answer:
        assert type_of(answer, b"a.b") == code


@pytest.mark.parametrize("value, expected", [("true", 1), ("false", 0)])
def test_boolean(store, value, expected):
    store.write_text('{"a": %s}' % value)
    with tree() as answer:
        assert get_boolean(answer, b"a", -1) == expected


@pytest.mark.parametrize("value, expected", [("2.5", 2.5), ("-0.125", -0.125), ("1e300", 1e300),
                                             ("2.0", 2.0)])
def test_double(store, value, expected):
    store.write_text('{"a": %s}' % value)
    with tree() as answer:
        assert get_double(answer, b"a", 9.5) == expected


@pytest.mark.parametrize("value, expected", [
    (0, 0), (-7, -7), (INT_MAX, INT_MAX), (INT_MIN, INT_MIN),
    (INT_MAX + 1, 42), (INT_MIN - 1, 42), (2**63 - 1, 42), (-2**63, 42), (2**64 - 1, 42), (2**32 + 1, 42),
])
def test_integer_beyond_an_int_gives_the_default(store, value, expected):
    store.write_text(json.dumps({"a": value}))
    with tree() as answer:
        assert get_int(answer, b"a", 42) == expected


@pytest.mark.parametrize("text", ["", "plain", "größer ✓ 😀", 'quo"te', "line\nfeed", "1"])
def test_string(store, text):
    store.write_text(json.dumps({"a": text}))
    with tree() as answer:
        assert get_string(answer, b"a", b"default") == text.encode()


def test_string_with_a_zero_byte_ends_there_for_its_reader(store):
    store.write_text(r'{"a": "one\u0000two"}')
    with tree() as answer:
        assert get_string(answer, b"a", b"default") == b"one"


def test_string_lives_as_long_as_its_tree(store):
    address = ctypes.CDLL(PLATFORM_LIBRARY).json_token_object_walk_get_string
    address.restype, address.argtypes = POINTER, [POINTER, TEXT, TEXT]
    store.write_text(json.dumps({"a": "x" * 100}))
    with tree() as answer:
        first = address(answer, b"a", None)
        assert type_of(answer, b"a") == STRING  # a token that comes and goes
        with tree() as another:
            assert address(another, b"a", None) != first
        assert address(answer, b"a", None) == first
        assert ctypes.string_at(first) == b"x" * 100


TYPES = {"boolean": True, "double": 1.5, "integer": 1, "string": "1", "null": None, "array": [1],
         "object": {"boolean": True}}


@pytest.mark.parametrize("getter, own, default", [
    (get_boolean, "boolean", -1), (get_double, "double", -0.5), (get_int, "integer", -2),
    (get_string, "string", b"default"), (get_string, "string", None),
])
@pytest.mark.parametrize("name", [*TYPES, "missing"])
def test_value_of_another_type_gives_the_default(store, getter, own, default, name):
    store.write_text(json.dumps(TYPES))
    expected = default if name != own else b"1" if own == "string" else TYPES[own]
    with tree() as answer:
        assert getter(answer, name.encode(), default) == expected


# --- paths


def test_deep_path(store):
    value = 7
    for _ in range(100):
        value = {"x": value}
    store.write_text(json.dumps(value))
    with tree() as answer:
        assert get_int(answer, b".".join([b"x"] * 100), 0) == 7
        assert type_of(answer, b".".join([b"x"] * 99)) == OBJECT
        assert type_of(answer, b".".join([b"x"] * 101)) is None


@pytest.mark.parametrize("key", [b"", b".", b".a", b"a.", b"a..b", b"a.b.", b"b", b"a.c", b"a.b.c", b"list.0",
                                 b"a b", b"A.b", b"\xff"])
def test_path_to_nothing(store, key):
    store.write_text('{"a": {"b": 1, "": 2}, "": 3, "a.b": 4, "list": [5]}')
    with tree() as answer:
        assert walk(answer, key) is None
        assert get_int(answer, key, 42) == 42


def test_key_with_quotes(store):
    store.write_text(json.dumps({'quo"te': {'in"ner': 1}}))
    with tree() as answer:
        assert get_int(answer, b'quo"te.in"ner', 0) == 1


def test_path_starts_at_any_token(store):
    store.write_text('{"a": {"b": {"c": 7}}}')
    with tree() as answer:
        token = walk(answer, b"a.b")
        assert get_int(token, b"c", 0) == 7
        assert put(token) == 1


# --- the selection

KEYS = [b"network", b"network.ruvo", b"network.ruvo.enable", b"network.name", b"audio", b"audio.volume",
        b"port"]
STORE = {"network": {"ruvo": {"enable": True}, "name": "x"}, "audio": {"volume": 3}, "port": 1}


@pytest.mark.parametrize("query_text, selected", [
    (b"{}", KEYS),
    (b'{"network":{}}', KEYS[:4]),
    (b' { "network" : { } } ', KEYS[:4]),
    (b'{"network":{"ruvo":{}}}', KEYS[:3]),
    (b'{"network":{"name":{}}}', [b"network", b"network.name"]),
    (b'{"network":{"name":{}},"port":{}}', [b"network", b"network.name", b"port"]),
    (b'{"network":{"missing":{}}}', [b"network"]),
    (b'{"port":{}}', [b"port"]),
    (b'{"port":{"below":{}}}', [b"port"]),
    (b'{"missing":{}}', []),
    (b'{"missing":{},"audio":{}}', [b"audio", b"audio.volume"]),
    (b'{"":{}}', []),
    (b'{"audio":true}', []),
    (b'{"audio":null}', []),
    (b'{"audio":[]}', []),
])
def test_query_selects(store, query_text, selected):
    store.write_text(json.dumps(STORE))
    assert keys_of(query_text, KEYS) == selected


@pytest.mark.parametrize("query_text", [b'{"a":{}}', b'{"a":{"below":{}}}'])
@pytest.mark.parametrize("value, code", [("1", INTEGER), ('"text"', STRING), ("[1]", ARRAY), ("null", NULL)])
def test_value_that_is_no_section_is_selected_as_it_is(store, query_text, value, code):
    store.write_text('{"a": %s}' % value)
    with tree(query_text) as answer:
        assert type_of(answer, b"a") == code


@pytest.mark.parametrize("query_text", [
    b"", b" ", b"{", b"null", b"true", b"7", b'"network"', b"[]", b'[{"network":{}}]', b'{"network":{}',
    b'{"network":{}}}', b"{'network':{}}", b'{"quo"te":{}}', b'{"network', b'{"\xff":{}}', b"{network:{}}",
])
def test_query_that_is_no_json_object_has_no_answer(store, query_text):
    store.write_text(json.dumps(STORE))
    assert query(query_text) is None


def test_very_deep_query_and_store(store):
    depth = 10000
    store.write_text('{"a":' * depth + "7" + "}" * depth)
    with tree(b'{"a":' * depth + b"{}" + b"}" * depth) as answer:
        assert get_int(answer, b".".join([b"a"] * depth), 0) == 7
    with tree(b'{"a":{}}') as answer:
        assert get_int(answer, b".".join([b"a"] * depth), 0) == 7


# --- the store


@pytest.mark.parametrize("content", [None, b"", b"{}", b" {} \n"])
def test_missing_or_empty_store_has_nothing(store, content):
    if content is not None:
        store.write_bytes(content)
    assert keys_of(b'{"network":{}}', KEYS) == []


@pytest.mark.parametrize("content", [
    b"{", b"\0", b" ", b"[]", b"[{\"a\":1}]", b"7", b"null", b'"text"', b'{"a":tru}', b'{"a":1}x',
    b'{"a":"\xff"}', b'{"a":1e999}',
])
def test_broken_store_has_no_answer(store, content):
    store.write_bytes(content)
    assert query(b'{"a":{}}') is None


def test_unreadable_store_has_no_answer(store):
    store.mkdir()
    assert query(ALL) is None


def test_store_behind_a_file_has_no_answer(store, monkeypatch):
    store.write_text("{}")
    monkeypatch.setenv("RUVO_USER_CONFIG", str(store / "below"))
    assert query(ALL) is None


def test_every_query_reads_the_store_again(store):
    store.write_text('{"a": 1}')
    with tree() as before:
        store.write_text('{"a": 2}')
        with tree() as after:
            assert (get_int(before, b"a", 0), get_int(after, b"a", 0)) == (1, 2)
        store.unlink()
        with tree() as gone:
            assert type_of(gone, b"a") is None


@pytest.mark.parametrize("kind, text, getter, value", [
    ("boolean", "true", get_boolean, 1), ("double", "2", get_double, 2.0), ("integer", "-5", get_int, -5),
    ("string", "ä=b", get_string, "ä=b".encode()),
])
def test_what_the_tool_stores_is_read(store, kind, text, getter, value):
    output(TOOL, "--store", str(store), "set", kind, f"network.ruvo.value={text}")
    with tree(b'{"network":{}}') as answer:
        assert getter(answer, b"network.ruvo.value", None if kind == "string" else 0) == value


def test_store_too_big_for_the_memory_has_no_answer(store):
    # A hole of a gigabyte, read with 64 MiB to spare.
    with store.open("wb") as file:
        file.truncate(1 << 30)
    script = f"""
import ctypes, resource
library = ctypes.CDLL({PLATFORM_LIBRARY!r})
query = library.user_config_query_to_json_token
query.restype = ctypes.c_void_p
used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (used + (64 << 20), -1))
print(query(b"{{}}"))"""
    done = run(sys.executable, "-c", script)
    assert (done.returncode, done.stdout, done.stderr) == (0, "None\n", "")


# --- references


def test_every_walk_is_a_reference_of_its_own(store):
    store.write_text('{"a": {"b": 1}}')
    answer = query(ALL)
    tokens = [walk(answer, b"a"), walk(answer, b"a"), walk(answer, b"a.b")]
    assert len({answer, *tokens}) == 4
    assert [put(token) for token in tokens] == [3, 2, 1]
    assert put(answer) == 0


def test_walk_that_finds_nothing_takes_no_reference(store):
    store.write_text('{"a": 1}')
    with tree() as answer:
        assert walk(answer, b"missing") is None


def test_token_outlives_its_tree(store):
    store.write_text('{"a": {"b": "text"}}')
    answer = query(ALL)
    token = walk(answer, b"a")
    assert put(answer) == 1
    assert get_string(token, b"b", None) == b"text"
    assert put(token) == 0


def test_trees_share_no_references(store):
    store.write_text('{"a": 1}')
    with tree(), tree():
        pass


# --- null arguments


def test_null_query_has_no_answer(store):
    store.write_text("{}")
    assert query(None) is None


def test_null_key_finds_nothing(store):
    store.write_text('{"a": 1}')
    with tree() as answer:
        assert walk(answer, None) is None
        assert get_boolean(answer, None, -1) == -1
        assert get_double(answer, None, 1.5) == 1.5
        assert get_int(answer, None, 42) == 42
        assert get_string(answer, None, b"default") == b"default"


@pytest.mark.parametrize("key", [None, b"", b"a"])
def test_null_tree_has_nothing(key):
    assert walk(None, key) is None
    assert get_boolean(None, key, -1) == -1
    assert get_double(None, key, 1.5) == 1.5
    assert get_int(None, key, 42) == 42
    assert get_string(None, key, b"default") == b"default"


def test_null_token_has_no_type_and_no_references():
    assert library.json_token_type(None) == NULL
    assert put(None) == 0


# --- the shared object


def test_exactly_the_operations_are_exported():
    lines = output("nm", "-D", "--defined-only", PLATFORM_LIBRARY).splitlines()
    assert sorted(line.split()[-2:] for line in lines) == sorted(["T", name] for name in OPERATIONS)


def test_no_folder_of_the_build_machine_is_in_the_library():
    dynamic = output("readelf", "-d", PLATFORM_LIBRARY)
    assert "NEEDED" in dynamic
    assert "RPATH" not in dynamic and "RUNPATH" not in dynamic
