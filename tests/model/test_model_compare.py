import json
import sys
from pathlib import Path

from compare import main, meaningful, shorter_lists, shrink

FOLDER = Path(__file__).parent
MODEL = [sys.executable, "-B", str(FOLDER / "answers.py")]

FAULTY = """
import json, sys
sys.path.insert(0, sys.argv[1])
from answers import answer
for line in sys.stdin:
    case = json.loads(line)
    found = answer(case)
    if case["op"] == "records":
        found["records"] = [r for r in found["records"] if r[2] != b"Port".hex()]
    print(json.dumps(found))
"""

SILENT = """
import sys
sys.stdin.read()
"""


def program(tmp_path, text):
    path = tmp_path / "program.py"
    path.write_text(text)
    return [sys.executable, "-B", str(path), str(FOLDER)]


def run(words, capsys):
    """The program may hold dashes of its own, so it stands behind two dashes."""
    status = main(["--cases", "220", "--seed", "5", "--"] + words)
    return status, capsys.readouterr().out.splitlines()


def test_the_model_agrees_with_itself(capsys):
    status, lines = run(MODEL, capsys)
    assert status == 0
    assert lines[0] == "seed: 5"
    assert lines[1] == "records: 20 cases, 0 differ"
    assert len(lines) == 12


def test_a_faulty_program_is_shown_with_a_shrunk_case(tmp_path, capsys):
    status, lines = run(program(tmp_path, FAULTY), capsys)
    assert status == 1
    case = json.loads(next(line for line in lines if line.startswith("case: "))[len("case: "):])
    assert len(case["file"]) // 2 == len(b"LPort=")
    assert bytes.fromhex(case["file"]).endswith(b"Port=")
    assert any(line.startswith("expected: ") for line in lines)
    assert lines[-2] == 'got: {"records": []}'


def test_a_program_that_does_not_answer_differs(tmp_path, capsys):
    status, lines = run(program(tmp_path, SILENT), capsys)
    assert status == 1
    assert "due: 20 cases, 20 differ" in lines
    assert "got: null" in lines


def test_shrinking_drops_pairs_and_bytes(tmp_path):
    text = FAULTY.replace('case["op"] == "records"', 'False').replace(
        "print(", 'found["data"] = found.get("data", "").replace(b"on".hex(), "")\n    print(')
    case = {"op": "expand", "data": b"x{{power}}y".hex(), "time": [2026, 1, 1, 0, 0, 0], "uptime": 0,
            "variables": [[b"a".hex(), b"b".hex()], [b"power".hex(), b"on!".hex()]]}
    small = shrink(program(tmp_path, text), case, 64)
    assert len(small["variables"]) <= 1
    assert len(small["data"]) < len(case["data"])


def test_runs_of_a_list_are_dropped_longest_first():
    assert list(shorter_lists([1, 2])) == [[], [2], [1]]
    assert list(shorter_lists(b"")) == []


def test_fields_without_meaning_are_not_compared():
    assert meaningful({"sender": "none", "ip": "", "port": 1, "data": ""}) == {"sender": "none"}
    assert meaningful({"sender": "tcp_status", "ip": "31", "port": 1, "data": "32"}) == {
        "sender": "tcp_status", "ip": "31", "port": 1}
    assert meaningful({"sender": "udp", "ip": "", "port": 1, "data": ""}) == {
        "sender": "udp", "ip": "", "port": 1, "data": ""}
