"""`ruvoctl check` as a person and a script meet it."""

import ast
import json
import os
import pathlib
import pty
import re
import select
import subprocess

import pytest

RUVOCTL = os.environ["RUVO_CTL"]
SOURCE = pathlib.Path(__file__).resolve().parents[2]

BEAMER = (
    b"BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDP\nBeamerData0=4F4E0D\n"
)
VOID = BEAMER + b"BeamerPorts0=1\n"
WARNED = BEAMER.replace(b"10.1.2.3", b"10.1.2.255")
HOST = BEAMER.replace(b"10.1.2.3", b"beamer.example")
STATUS = b"model:AV-100\ninput:HDMI1\npower:on\nvolume:42\nmute:off\nserial:0042\n"


def run(*arguments, given=b"", **environment):
    return subprocess.run(
        [RUVOCTL, "check", *map(str, arguments)],
        input=given, capture_output=True, timeout=20, env={**os.environ, **environment},
    )


@pytest.fixture
def settings(tmp_path):
    def write(text, name="ruvo.txt"):
        path = tmp_path / name
        path.write_bytes(text)
        return path

    return write


def checked(text, *arguments):
    answer = run("--json", *arguments, "-", given=text)
    return json.loads(answer.stdout)["files"][0]


def ids(text, *arguments):
    return [found["id"] for found in checked(text, *arguments)["diagnostics"]]


def run_on(verb, path):
    arguments = ["Beamer", "-f"] if verb == "plan" else []
    return subprocess.run([RUVOCTL, verb, *arguments, path], capture_output=True, timeout=20)


@pytest.mark.parametrize("verb", ["check", "plan"])
@pytest.mark.parametrize("path", ["/dev/zero", "/dev/null", "/dev/full"])
def test_a_device_is_not_read(verb, path):
    answer = run_on(verb, path)
    assert (answer.returncode, answer.stdout) == (1, b"")
    assert f"cannot read {path}: a device".encode() in answer.stderr


@pytest.mark.parametrize("verb", ["check", "plan"])
def test_a_fifo_that_nobody_writes_to_is_empty(verb, tmp_path, settings):
    os.mkfifo(tmp_path / "fifo")
    assert run_on(verb, tmp_path / "fifo").returncode == run_on(verb, settings(b"")).returncode


@pytest.mark.parametrize("verb", ["check", "plan"])
def test_a_fifo_is_read_as_long_as_somebody_writes_to_it(verb, settings):
    """The shell gives the output of a program the name of such a one."""
    command = f"{RUVOCTL} {verb} {'Beamer -f' if verb == 'plan' else ''} <(sleep 0.2; cat ruvo.txt)"
    path = settings(BEAMER + b"# filling\n" * 20000)
    answer = subprocess.run(["bash", "-c", command], cwd=path.parent, capture_output=True, timeout=20)
    assert answer.returncode == 0, answer
    assert b"10.1.2.3" in answer.stdout or verb == "check"


@pytest.mark.parametrize("text, status", [
    (BEAMER, 0), (WARNED, 0), (HOST, 3), (VOID, 3), (b"", 4), (b"PowerOnCount=0\n", 4),
    (b"# only a comment\n", 4),
])
def test_the_exit_status_says_what_was_found(settings, text, status):
    assert run(settings(text)).returncode == status


@pytest.mark.parametrize("text, status", [(BEAMER, 0), (WARNED, 3), (HOST, 3), (b"", 4)])
def test_strict_counts_warnings_as_problems(settings, text, status):
    assert run("--strict", settings(text)).returncode == status


def test_a_file_that_is_not_there_fails(tmp_path):
    answer = run(tmp_path / "none.txt")
    assert answer.returncode == 1
    assert b"none.txt" in answer.stderr
    assert answer.stdout == b""


def test_a_directory_fails(tmp_path):
    answer = run(tmp_path)
    assert answer.returncode == 1
    assert answer.stderr != b""


@pytest.mark.skipif(os.geteuid() == 0, reason="root reads every file")
def test_a_file_that_may_not_be_read_fails(settings):
    path = settings(BEAMER)
    path.chmod(0)
    assert run(path).returncode == 1


def test_one_unreadable_file_does_not_hide_the_others(settings, tmp_path):
    answer = run(tmp_path / "none.txt", settings(HOST))
    assert answer.returncode == 1
    assert b"ip-invalid" in answer.stdout


@pytest.mark.parametrize("arguments", [
    ["--no-such-option"], ["--word", "16"], ["--color", "green"], ["--explain", "no-such-id"],
    ["--json", "--sarif", "-"], ["--address", "beamer.example", "-"],
])
def test_wrong_usage_is_status_2(arguments):
    answer = run(*arguments, given=BEAMER)
    assert answer.returncode == 2
    assert answer.stdout == b""
    assert answer.stderr != b""


def test_standard_input_is_read_for_a_dash():
    answer = run("-", given=HOST)
    assert answer.returncode == 3
    assert b":2:11: error[ip-invalid]: " in answer.stdout


def test_the_file_option_names_it_too(settings):
    assert run("-f", settings(HOST)).returncode == 3


def test_the_text_is_cause_effect_fix_and_summary(settings):
    path = settings(BEAMER.replace(b"UDP", b"udp"))
    lines = run(path).stdout.decode().splitlines()
    assert lines[0].startswith(f"{path}:4:17: error[protocol-unknown]: ")
    assert lines[1].strip().startswith("effect: ")
    assert lines[2].split(maxsplit=1) == ["fix:", "BeamerProtocol0=UDP"]
    assert lines[-1] == f"{path}: 1 event, 1 send planned, 0 arrive as written; 1 error"


def test_a_good_file_has_a_true_summary(settings):
    lines = run(settings(BEAMER)).stdout.decode().splitlines()
    assert lines[-1].endswith(": 1 event, 1 send planned, it arrives as written; no problems")


@pytest.mark.parametrize("text", [b"", b"# nothing\n", b"PowerOnCount=0\n", VOID, HOST])
def test_what_sends_nothing_is_never_ok(settings, text):
    output = run(settings(text)).stdout.decode()
    assert not re.search(r"\bok\b", output, re.IGNORECASE)
    assert output.strip() != ""


def test_several_files_have_a_report_each(settings):
    first, second = settings(BEAMER, "first.txt"), settings(HOST, "second.txt")
    answer = run(first, second)
    assert answer.returncode == 3
    assert f"{second}:2:11: error[ip-invalid]".encode() in answer.stdout
    files = json.loads(run("--json", first, second).stdout)["files"]
    assert [entry["file"] for entry in files] == [str(first), str(second)]


def test_several_good_files_are_good(settings):
    assert run(settings(BEAMER, "a.txt"), settings(BEAMER, "b.txt")).returncode == 0


def test_json_is_the_documented_document():
    answer = run("--json", "-", given=BEAMER.replace(b"10.1.2.3", b"10.1.2.3 "))
    assert answer.returncode == 3
    document = json.loads(answer.stdout)
    name = document["files"][0]["file"]
    assert document == {
        "format": "ruvoctl.check", "version": 1,
        "files": [{
            "file": name,
            "summary": {
                "lines": 5, "lines_without_effect": 0, "events": 1, "sends_planned": 1,
                "sends_as_written": 0, "fatal": 0, "errors": 1, "warnings": 0, "information": 0,
            },
            "diagnostics": [{
                "id": "ip-invalid", "severity": "error",
                "line": 2, "column": 11, "end_column": 20, "offset": 24,
                "event": "Beamer", "step": 0,
                "cause": 'a blank beside the address "10.1.2.3"',
                "effect": "Beamer step 0 goes to 0.0.0.0, this very device",
                "fix": ["BeamerIP0=10.1.2.3"],
            }],
        }],
    }


@pytest.mark.parametrize("text", [b"", b"\xff\xfe\x00", bytes(range(256)) * 20, b"=" * 5000])
def test_json_is_json_whatever_the_file_holds(text):
    answer = run("--json", "-", given=text)
    assert json.loads(answer.stdout)["format"] == "ruvoctl.check"
    assert answer.returncode in (0, 3, 4)


def test_sarif_has_the_members_that_it_must_have(settings):
    path = settings(VOID.replace(b"10.1.2.3", b"10.1.2.255") + b"Room=Hall\n")
    answer = run("--sarif", path)
    assert answer.returncode == 3
    document = json.loads(answer.stdout)
    assert document["version"] == "2.1.0"
    (sarif,) = document["runs"]
    driver = sarif["tool"]["driver"]
    assert driver["name"] == "ruvoctl"
    rules = [rule["id"] for rule in driver["rules"]]
    assert len(set(rules)) == len(rules)
    assert {result["level"] for result in sarif["results"]} <= {"error", "warning", "note", "none"}
    for result in sarif["results"]:
        assert result["ruleId"] in rules
        if "ruleIndex" in result:
            assert rules[result["ruleIndex"]] == result["ruleId"]
        assert result["message"]["text"]
        for location in result["locations"]:
            physical = location["physicalLocation"]
            assert physical["artifactLocation"]["uri"]
            assert physical["region"]["startLine"] >= 1
            assert physical["region"]["startColumn"] >= 1
    levels = {result["ruleId"]: result["level"] for result in sarif["results"]}
    assert levels["index-not-a-number"] == "error"
    assert levels["maybe-broadcast"] == "warning"


def test_a_path_becomes_a_uri(settings):
    path = settings(HOST, "my settings.txt")
    document = json.loads(run("--sarif", path).stdout)
    place = document["runs"][0]["results"][0]["locations"][0]["physicalLocation"]
    assert " " not in place["artifactLocation"]["uri"]
    assert "my%20settings.txt" in place["artifactLocation"]["uri"]


def test_the_word_size_decides_what_is_out_of_range():
    text = BEAMER + b"BeamerDelay4294967296=5\n"
    assert "word-size" in ids(text)
    assert "index-out-of-range" in ids(text, "--word", "32")
    wide = ids(text, "--word", "64")
    assert "index-wrapped" in wide and "word-size" not in wide


def test_the_status_items_decide_which_macros_exist(settings):
    report = settings(STATUS, "status.txt")
    power = BEAMER.replace(b"4F4E0D", b"{{power}}".hex().encode())
    upper = BEAMER.replace(b"4F4E0D", b"{{POWER}}".hex().encode())
    assert ids(power) == ["unproven-macro"]
    assert ids(power, "--status", report) == []
    assert ids(upper, "--status", report) == ["unknown-macro"]


def test_a_status_report_that_is_not_there_fails(tmp_path):
    assert run("--status", tmp_path / "none", "-", given=BEAMER).returncode == 1


def test_a_test_run_has_no_event_delay_and_no_trigger_names():
    text = BEAMER + b"BeamerDelay=60\nBeamerXMLfield=a=b\n"
    assert "delay-stale" in ids(text) and "trigger-unsendable" in ids(text)
    assert ids(text, "--test") == []


def test_every_id_is_explained():
    names = run("--list-ids").stdout.decode().split()
    assert len(names) > 60
    for name in names:
        answer = run("--explain", name)
        assert answer.returncode == 0
        assert f"[{name}]" in answer.stdout.decode().splitlines()[0]


def test_an_unknown_id_gets_the_nearest_one():
    answer = run("--explain", "ip-invalidd")
    assert answer.returncode == 2
    assert b"ip-invalid" in answer.stderr.replace(b"ip-invalidd", b"")


def test_a_corrected_copy_is_written_elsewhere(settings, tmp_path):
    path = settings(BEAMER.replace(b"UDP", b"udp"))
    copy = tmp_path / "better.txt"
    answer = run("--fix", copy, path)
    assert copy.read_bytes() == BEAMER
    assert path.read_bytes() == BEAMER.replace(b"UDP", b"udp")
    assert b"-BeamerProtocol0=udp" in answer.stdout
    assert b"+BeamerProtocol0=UDP" in answer.stdout
    assert answer.returncode == 0, "the copy has no problem left"
    assert run(copy).returncode == 0


def test_what_only_a_person_knows_is_said_of_the_copy(settings, tmp_path):
    answer = run("--fix", tmp_path / "better.txt", settings(HOST))
    assert answer.returncode == 3
    assert b"ip-invalid" in answer.stdout + answer.stderr


def test_addresses_are_replaced_in_the_copy(settings, tmp_path):
    copy = tmp_path / "better.txt"
    answer = run("--fix", copy, "--address", "beamer.example=10.1.2.3", settings(HOST))
    assert answer.returncode == 0
    assert copy.read_bytes() == BEAMER


@pytest.mark.parametrize("link", [False, "symlink", "hardlink"])
def test_the_file_itself_is_never_overwritten(settings, tmp_path, link):
    path = settings(BEAMER.replace(b"UDP", b"udp"))
    output = path
    if link == "symlink":
        output = tmp_path / "link.txt"
        output.symlink_to(path)
    elif link == "hardlink":
        output = tmp_path / "link.txt"
        output.hardlink_to(path)
    answer = run("--fix", output, path)
    assert answer.returncode == 2
    assert answer.stderr != b""
    assert path.read_bytes() == BEAMER.replace(b"UDP", b"udp")


def test_the_file_itself_is_not_overwritten_by_another_spelling(settings, tmp_path):
    path = settings(BEAMER.replace(b"UDP", b"udp"))
    (tmp_path / "d").mkdir()
    assert run("--fix", tmp_path / "d" / ".." / path.name, path).returncode == 2
    assert path.read_bytes() == BEAMER.replace(b"UDP", b"udp")


def test_a_copy_that_cannot_be_written_fails(settings, tmp_path):
    assert run("--fix", tmp_path / "no" / "where.txt", settings(HOST)).returncode == 1


def test_a_copy_of_standard_input(tmp_path):
    copy = tmp_path / "better.txt"
    assert run("--fix", copy, "-", given=BEAMER.replace(b"UDP", b"udp")).returncode == 0
    assert copy.read_bytes() == BEAMER


CONTROL = (
    b"\x1b]0;owned\x07Count=x\n\x1b[2JIP0=\x1b[31mred\n\x9b31mPort0=\x7f\n"
    + BEAMER + b"BeamerData[\x1b[5m]=\x08\x08\nBeamerXMLfield=\x1bc\x00\r\n#\x1b[1m=\x0b\n"
)


@pytest.mark.parametrize("arguments", [[], ["--json"], ["--sarif"]])
def test_control_bytes_are_never_written_raw(arguments):
    output = run(*arguments, "-", given=CONTROL).stdout
    assert not re.search(rb"[\x00-\x08\x0b-\x1f\x7f\x9b]", output)


def test_control_bytes_of_a_difference_are_never_written_raw(settings, tmp_path):
    answer = run("--fix", tmp_path / "copy.txt", settings(CONTROL))
    assert not re.search(rb"[\x00-\x08\x0b-\x1f\x7f\x9b]", answer.stdout + answer.stderr)


def test_control_bytes_of_a_name_are_never_written_raw(settings, tmp_path):
    answer = run(settings(HOST, "\x1b[31mred.txt"), tmp_path / "\x1b[2Jnone")
    assert b"\x1b" not in answer.stdout + answer.stderr


def on_a_terminal(*arguments, **environment):
    leader, follower = pty.openpty()
    process = subprocess.Popen(
        [RUVOCTL, "check", *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=follower,
        stderr=follower, env={**os.environ, "TERM": "xterm", **environment})
    os.close(follower)
    output = b""
    while select.select([leader], [], [], 20)[0]:
        try:
            piece = os.read(leader, 65536)
        except OSError:
            break
        if not piece:
            break
        output += piece
    os.close(leader)
    process.wait(timeout=20)
    return output


def test_colour_is_for_terminals(settings, monkeypatch):
    monkeypatch.delenv("NO_COLOR", raising=False)
    path = settings(HOST)
    assert b"\x1b[" in on_a_terminal(path)
    assert b"\x1b[" not in on_a_terminal(path, NO_COLOR="1")
    assert b"\x1b[" in on_a_terminal("--color", "always", path, NO_COLOR="1")
    assert b"\x1b[" not in on_a_terminal("--color", "never", path)
    assert b"\x1b[" not in run(path).stdout
    assert b"\x1b[" in run("--color", "always", path).stdout


def settings_of_the_demonstration():
    tree = ast.parse((SOURCE / "scripts" / "demo_session.py").read_text())
    values = {}
    for node in tree.body:
        if isinstance(node, ast.Assign) and isinstance(node.value, ast.Constant):
            values[node.targets[0].id] = node.value.value
    return values


def test_the_demonstrations_settings_are_clean(settings):
    values = settings_of_the_demonstration()
    report = settings(values["STATUS_ITEMS"], "status.txt")
    for text in (values["SETTINGS"], values["TEST_SETTINGS"]):
        document = checked(text, "--status", report)
        problems = [found for found in document["diagnostics"] if found["severity"] != "information"]
        assert problems == []
        assert document["summary"]["sends_as_written"] == document["summary"]["sends_planned"] > 0


def test_the_default_file_is_the_devices():
    assert b"/mnt/configs/ruvo/ruvo.txt" in run("--help").stdout


@pytest.mark.parametrize("arguments, told", [
    (("--fix", "", "ruvo.txt"), "--fix: it is empty"),
    (("--status", "", "ruvo.txt"), "--status: it is empty"),
    (("--explain", ""), "--explain: it is empty"),
    (("--fix", "-", "ruvo.txt"), "--fix writes a file; ./- is one of this name"),
    (("--address", "beamer=nonsense", "ruvo.txt"), "--address: 'nonsense' is no IPv4 address"),
    (("--address", "=10.1.2.3", "ruvo.txt"), "--address: '=10.1.2.3' is not OLD=NEW"),
])
def test_an_option_without_a_good_value_is_wrong_usage(arguments, told):
    answer = run(*arguments)
    assert answer.returncode == 2
    assert answer.stderr.decode() == f"ruvoctl: {told}\nSee ruvoctl help check\n"


def test_a_full_disk_behind_standard_output_is_told(settings):
    with open("/dev/full", "wb") as full:
        answer = subprocess.run([RUVOCTL, "check", settings(BEAMER)], stdout=full,
                                stderr=subprocess.PIPE, timeout=20)
    assert answer.returncode == 1
    assert answer.stderr == b"ruvoctl: cannot write to standard output: No space left on device\n"
