"""Every trap does occur, and the same seed gives the same requests."""

import random

import pytest

from answers import answer
from executor import choose_sender
from generate import MAKERS, requests
from records import FIELDS, read_records
from status import parse_report

CASES = 2000


def made(operation, seed=1):
    rng = random.Random(seed)
    return [MAKERS[operation](rng) for _ in range(CASES)]


@pytest.fixture(scope="module")
def files():
    return [bytes.fromhex(case["file"]) for case in made("records")]


@pytest.fixture(scope="module")
def records(files):
    return [record for content in files for record in read_records(content)]


def field_words(key):
    return [field for field in FIELDS if field in key]


def whole_key(record):
    return record.name + record.field + record.index


def test_the_same_seed_gives_the_same_requests():
    assert requests(random.Random(7), 220) == requests(random.Random(7), 220)
    assert requests(random.Random(7), 220) != requests(random.Random(8), 220)


def test_the_operations_take_turns():
    assert [case["op"] for case in requests(random.Random(1), 22)] == 2 * list(MAKERS)


def test_every_request_has_an_answer():
    for case in requests(random.Random(2), 1100):
        assert isinstance(answer(case), dict)


def test_keys_with_two_field_words_occur(records):
    assert any(len(field_words(whole_key(record))) >= 2 and record.kind == 2 for record in records)
    assert any(len(field_words(whole_key(record))) >= 2 and record.kind == 1 for record in records)


def test_field_words_at_position_0_occur(records):
    assert any(record.kind == 0 and record.name.startswith(FIELDS) for record in records)
    assert any(record.kind == 1 and record.name.startswith(FIELDS) for record in records)
    assert any(record.kind == 0 and record.name == b"CountCount" for record in records)


@pytest.mark.parametrize("value", [b"0", b"-1", b"129", b"4294967297", b" 3", b"3abc"])
def test_odd_counts_occur(records, value):
    assert any(record.field == b"Count" and record.kind == 1 and record.value == value for record in records)


@pytest.mark.parametrize("index", [b"x", b"-1", b" 1", b"007", b"4294967296", b"18446744073709551616",
                                   b"18446744073709551615"])
def test_odd_indices_occur(records, index):
    assert any(record.index == index for record in records)


def test_odd_values_occur(records):
    values = {(record.field, record.value) for record in records}
    assert (b"Delay", b"9223372036854775808") in values
    assert (b"Delay", b"4294967301") in values
    for piece in (b" ", b"-", b"0x", b"zz"):
        assert any(field == b"Data" and piece in value for field, value in values)
    assert any(field == b"Data" and len(value) % 2 == 1 for field, value in values)


def test_odd_lines_occur(files):
    assert any(b"\r\n" in content for content in files)
    assert any(b"\0" in content for content in files)
    assert any(b"==" in content for content in files)
    assert any(b"\n\n" in content for content in files)
    assert any(content != b"" and not content.endswith(b"\n") for content in files)
    assert any(byte > 127 for content in files for byte in content)


@pytest.mark.parametrize("length", [2046, 2047, 2048, 2049, 2050])
def test_lines_around_the_buffer_size_occur(files, length):
    assert any(len(line) == length for content in files for line in content.split(b"\n"))


def test_an_equals_sign_on_the_cut_occurs(files):
    assert any(line[2046:2048] == b"=2" for content in files for line in content.split(b"\n"))
    assert any(line[2047:2048] == b"=" for content in files for line in content.split(b"\n"))


def test_event_lists_are_mostly_built_and_sometimes_refused():
    answers = [answer(case) for case in made("event_list")]
    errors = [found["error"] for found in answers if "error" in found]
    assert errors.count("invalid_argument") > 20
    assert errors.count("out_of_range") > 10
    assert len(errors) < CASES / 2
    entries = [entry for found in answers if "entries" in found for entry in found["entries"]]
    assert any(len(entry["steps"]) == 128 for entry in entries)
    assert any(step["delayFromExecNs"] != step["delayNs"] for entry in entries for step in entry["steps"])
    assert any(step["delayNs"] < 0 for entry in entries for step in entry["steps"])
    assert any(len({e["name"] for e in found["entries"]}) < len(found["entries"])
               for found in answers if "entries" in found)


def test_xml_fields_before_and_behind_a_delay_occur():
    xml_fields = set()
    for case in made("event_list"):
        for entry in answer(case).get("entries", []):
            if entry["name"] == b"PowerOn".hex() and entry["delay"] != 0:
                xml_fields.add(entry["xmlField"])
    assert {b"PowerOn".hex(), b"Lamp".hex()} <= xml_fields


def test_mirror_lines_cut_by_a_zero_byte_occur():
    answers = [answer(case) for case in made("mirrors")]
    assert any(bytes.fromhex(found["ascii"]).count(b"\n") < bytes.fromhex(found["dump"]).count(b"\n")
               for found in answers)


def test_macros_of_every_shape_occur():
    cases = made("expand")
    data = [bytes.fromhex(case["data"]) for case in cases]
    for piece in (b"{{}}", b"{{date}}", b"{{DATE}}", b"{{a{{b}}", b"{{{", b"}}}", b"{{date\0}}",
                  b"\\\\n", b"\\x41", b"\\n\\r\\t", b"\\t\\r\\n"):
        assert any(piece in text for text in data)
    assert any(b"{{" in text and b"}}" not in text for text in data)
    assert any(b"}}" in text and b"{{" not in text for text in data)


def test_variables_that_override_and_bring_escapes_occur():
    overriding = 0
    escaping = 0
    for case in made("expand"):
        data = bytes.fromhex(case["data"])
        for name, value in case["variables"]:
            used = b"{{" + bytes.fromhex(name) + b"}}" in data
            overriding += used and bytes.fromhex(name).lower() in (b"date", b"time", b"uptime")
            escaping += used and b"\\n" in bytes.fromhex(value)
    assert overriding > 20
    assert escaping > 20


def test_reports_around_the_threshold_occur():
    reports = [bytes.fromhex(case["report"]) for case in made("status")]
    counts = {len(parse_report(report)) for report in reports}
    assert {5, 6, 7} <= counts
    assert any(b":" in value for report in reports for _, value in parse_report(report))
    assert any(b"no colon\n" in report for report in reports)
    assert any(b"\0" in report for report in reports)
    assert {2046, 2047, 2048} <= {len(line) for report in reports for line in report.split(b"\n")}


def test_client_replies_stay_within_the_buffer_and_print_something():
    cases = made("client")
    assert all(len(case["reply"]) // 2 < 4999 for case in cases)
    assert sum(answer(case)["text"] != "" for case in cases) > CASES / 2


def test_requests_of_every_kind_occur():
    cases = made("request")
    answers = [answer(case) for case in cases]
    assert all(case["request"] != "" for case in cases)
    assert any(found["command"] for found in answers)
    assert any(found["lookups"] >= 2 for found in answers)
    assert any(found["trigger"] == b"\n".hex() for found in answers)
    assert any(found["trigger"] is None and not found["command"] for found in answers)
    assert {1022, 1023, 1024, 2000} <= {len(case["request"]) // 2 for case in cases}


def test_records_around_the_minute_occur():
    cases = made("record")
    ages = {case["now"] - case["created"] for case in cases if case["created"] and case["due"]}
    assert {59999999999, 60000000000, 60000000001} <= ages
    assert {answer(case)["action"] for case in cases} == {"invalid", "stale", "had_run", "keep", "run"}


def test_steps_of_every_outcome_and_odd_case_occur():
    cases = made("step")
    assert {answer(case)["action"] for case in cases} == {"power_on_skip", "disabled_skip", "send"}
    assert b"dViCoNnEcTeD".hex() in {case["name"] for case in cases}


def test_protocols_of_several_words_and_every_sender_occur():
    cases = made("outgoing")
    protocols = {bytes.fromhex(case["protocol"]) for case in cases}
    senders = {choose_sender(protocol) for protocol in protocols}
    assert senders == {"tcp", "udp", "tcp_status", "udp_status", "none"}
    assert {b"TCPUDP", b"UDP,TCP,Status", b"udp"} <= protocols
    assert {62, 63, 64} <= {len(case["ip"]) // 2 for case in cases}
    assert {102, 103, 104, 200} <= {len(case["data"]) // 2 for case in cases}


def test_equal_delays_occur():
    lists = [[delay for delay in case["delays"] if delay > 0] for case in made("due")]
    assert any(len(set(delays)) < len(delays) for delays in lists)


def test_no_escape_is_left_after_the_expansion():
    for case in made("expand"):
        expanded = bytes.fromhex(answer(case)["data"])
        assert b"\\n" not in expanded and b"\\r" not in expanded and b"\\t" not in expanded
