import json
import random

from compare_plans import main, members_that_differ, said_plan
from generate import make_plan
from plans import planned

CASE = {"file": b"LampCount=1\nLampProtocol0=UDP\nLampPort0=9\nLampData0=7b7b74696d657d7d\n".hex(),
        "report": None, "time": [2026, 1, 2, 3, 4, 5], "uptime": 3600, "test": 0, "switch": "on"}

SAYS_THERE_ARE_NO_EVENTS = """#!/bin/sh
echo '{"void": null, "events": []}'
"""


def bytes_member(data):
    return {"hex": data.hex(" ").upper(), "text": ""}


def test_a_plan_says_what_leaves_and_what_is_logged():
    step = planned(CASE)["events"][0]["steps"][0]
    assert step == {
        "step": 0, "outcome": "sends", "reason": None, "sender": "udp", "port": 9, "ip": "0.0.0.0",
        "delay_ms": 0, "due_ns": 0, "data": b"03:04:05".hex(), "expanded": b"03:04:05".hex(), "cut_bytes": 0,
        "macros": [{"value": b"03:04:05".hex(), "source": "time"}],
        "log_line": b":9 UDP 03:04:05\n".hex(),
    }


def test_switched_off_before_the_run_every_step_is_skipped_with_the_uptime():
    step = planned({**CASE, "switch": "run"})["events"][0]["steps"][0]
    assert (step["outcome"], step["reason"]) == ("skipped", "switched-off")
    assert bytes.fromhex(step["log_line"]) == b":9 UDP 03:04:05, disabled uptime=3600\n"


def test_an_event_that_waits_a_minute_is_stale():
    settings = bytes.fromhex(CASE["file"]) + b"LampDelay=60\n"
    assert planned({**CASE, "file": settings.hex()})["events"] == [
        {"delay_s": 60, "step_count": 1, "steps": [], "outcome": "stale"}]


def test_what_the_program_says_is_brought_into_the_model_s_form():
    said = {
        "void": None,
        "events": [{
            "name": "Lamp", "trigger": "Lamp", "line": 1, "delay_s": 0, "outcome": "runs", "step_count": 1,
            "steps": [{
                "step": 0, "outcome": "sends", "reason": None, "sender": "udp", "protocol": "UDP",
                "destination": {"ip": "0.0.0.0", "port": 9, "configured_ip": "", "configured_port": "9",
                                "ip_parsed": False},
                "delay_ms": 0, "due_ms": 0.0, "earliest_ms": 0.0, "latest_ms": 350.0, "tail_ms": 0,
                "data": bytes_member(b"03:04:05"), "expanded": bytes_member(b"03:04:05"), "cut_bytes": 0,
                "macros": [{"name": "time", "value": bytes_member(b"03:04:05"), "source": "time"}],
                "log_line": bytes_member(b":9 UDP 03:04:05\n"),
            }],
        }],
    }
    assert said_plan(said) == planned(CASE)


def test_a_difference_is_named_by_its_path():
    expected = {"events": [{"steps": [{"data": "41"}]}]}
    got = {"events": [{"steps": [{"data": "42"}]}]}
    assert list(members_that_differ(expected, got)) == ["plan.events[0].steps[0].data: expected b'A', got b'B'"]


def test_a_program_that_plans_nothing_is_shown_with_a_shrunk_case(tmp_path, capsys):
    program = tmp_path / "ruvoctl"
    program.write_text(SAYS_THERE_ARE_NO_EVENTS)
    program.chmod(0o755)
    assert main(["--cases", "2", "--seed", "2", str(program)]) == 1
    lines = capsys.readouterr().out.splitlines()
    case = json.loads(next(line for line in lines if line.startswith("case: "))[len("case: "):])
    assert b"\n" not in bytes.fromhex(case["file"])


def test_the_same_seed_makes_the_same_plan():
    assert make_plan(random.Random(7)) == make_plan(random.Random(7))
