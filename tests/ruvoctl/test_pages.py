"""What the manual pages say of ruvoctl and of the settings is what ruvoctl says itself."""

import json
import os
import pathlib
import re
import subprocess

import pytest

RUVOCTL = pathlib.Path(os.environ["RUVO_CTL"])
PAGES = pathlib.Path(os.environ["RUVO_SOURCE_DIR"], "docs/man")
VERBS = ["check", "plan", "encode", "decode", "help"]
# More items than the daemon asks of a report before it takes it.
STATUS = "a:1\nb:2\nc:3\nd:4\ne:5\ninput:HDMI1\n"


def ruvoctl(*arguments):
    return subprocess.run([RUVOCTL, *arguments], capture_output=True, text=True, check=True).stdout


def as_shown(page):
    """The page as a terminal of any width shows it."""
    done = subprocess.run(["mandoc", "-Tascii", "-Owidth=1000", PAGES / page], capture_output=True, text=True,
                          check=True)
    return re.sub(".\b", "", done.stdout)


def section(page, name):
    return re.search(rf"^{name}\n(.*?)^(?=\S)", as_shown(page), re.MULTILINE | re.DOTALL)[1]


def displays(page):
    """The page's literal displays, without the marks of its language."""
    text = (PAGES / page).read_text()
    found = re.findall(r"^\.Bd -literal.*?\n(.*?)^\.Ed$", text, re.MULTILINE | re.DOTALL)
    return [re.sub(r"^\\&", "", display, flags=re.MULTILINE).replace("\\e", "\\") for display in found]


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """A folder to work in, with ruvoctl on the path."""
    (tmp_path / "bin").mkdir()
    (tmp_path / "bin" / "ruvoctl").symlink_to(RUVOCTL)
    monkeypatch.setenv("PATH", f"{tmp_path}/bin:{os.environ['PATH']}")
    monkeypatch.chdir(tmp_path)
    return tmp_path


def test_the_examples_print_what_the_page_shows(folder):
    shown = "".join(displays("ruvoctl.1"))
    (folder / "ruvo.txt").write_text(re.search(r"^\$ cat ruvo\.txt\n(.*?)(?=^\$)", shown, re.M | re.S)[1])
    commands = re.findall(r"^\$ (.*)$", shown, re.MULTILINE)
    assert len(commands) > 5
    printed = ""
    for command in commands:
        printed += f"$ {command}\n{subprocess.getoutput(command)}\n"
    assert printed == shown


@pytest.mark.parametrize("verb", VERBS)
def test_every_option_of_a_verb_is_on_the_page_beside_the_verb(verb):
    options = re.findall(r"^ {2,4}(-\S+)", ruvoctl("help", verb), re.MULTILINE)
    names = {name for option in options for name in option.split(",")} - {"-h", "--help"}
    described = set()
    for entry in re.split(r"\n\n", section("ruvoctl.1", "OPTIONS")):
        entry = re.match(r"\s*(-.*?)(?:\n|  )\s*\(([a-z, ]+)\)", entry)
        if entry and verb in entry[2].split(", "):
            described |= {word for word in re.split(r"[ ,]+", entry[1]) if word.startswith("-")}
    assert described == names


def test_every_verb_is_on_the_page():
    described = re.findall(r"^   (\S+)$", section("ruvoctl.1", "DESCRIPTION"), re.MULTILINE)
    assert described == VERBS


def test_every_exit_status_is_on_the_page():
    assert re.findall(r"^     (\d)  ", section("ruvoctl.1", "EXIT STATUS"), re.MULTILINE) == list("01234")


def test_the_settings_page_has_an_example_that_arrives_as_written(folder):
    example = next(display for display in displays("ruvo.txt.5") if "LampCount=1\n" in display)
    (folder / "ruvo.txt").write_text(example)
    (folder / "status.txt").write_text(STATUS)
    report = ruvoctl("check", "--strict", "--status", "status.txt", "ruvo.txt")
    assert report.endswith("ruvo.txt: 2 events, 3 sends planned, all arrive as written; no problems\n")


def is_void(text):
    pathlib.Path("ruvo.txt").write_text(text)
    done = subprocess.run([RUVOCTL, "check", "--json", "ruvo.txt"], capture_output=True, text=True)
    return json.loads(done.stdout)["files"][0]["summary"]["fatal"] > 0


def test_the_settings_page_says_which_lines_void_a_file(folder):
    lines = next(display for display in displays("ruvo.txt.5") if "PowerOnDatax=" in display).splitlines()
    assert len(lines) == 3
    assert all(is_void(f"PowerOnCount=1\n{line}\n") for line in lines)
    assert not any(is_void(f"PowerOnCount=0\n{line}\n") for line in lines)


def test_the_settings_page_splits_keys_as_they_are_split(folder):
    table = re.search(r"^ +key +name +field +index\n(.*?)\n\n", as_shown("ruvo.txt.5"), re.M | re.S)[1]
    rows = [line.split() for line in table.splitlines()]
    assert len(rows) == 6
    for key, name, field, *index in rows:
        if field in ("Count", "none"):
            # A name with a Count makes an event, and no other does.
            (folder / "ruvo.txt").write_text(f"{key}=1\n")
            names = ruvoctl("plan", "--names", "-f", "ruvo.txt").split()
            assert names == ([name] if field == "Count" else [])
        else:
            # An index that is no number voids the file only under this very name.
            assert key == name + field + index[0]
            assert is_void(f"{name}Count=1\n{key}=1\n") != index[0].isdigit()
            assert not is_void(f"{name}xCount=1\n{key}=1\n")


def plan(event, *options):
    command = [RUVOCTL, "plan", "--json", "-f", "ruvo.txt", *options, event]
    done = subprocess.run(command, capture_output=True, text=True)
    return json.loads(done.stdout)["events"][0]


@pytest.mark.parametrize("line, member, value", [
    ("Port0=70000", "port", 4464), ("Port0= 80x", "port", 80), ("Port0=x", "port", 0),
    ("Port0=99999999999999999999", "port", 65535),
    ("IP0=10.1.2.3", "ip", "10.1.2.3"), ("IP0=10.1.2.03", "ip", "0.0.0.0"),
    ("IP0=10.1.2.3 ", "ip", "0.0.0.0"),
    ("IP0=10.1.2.3\r", "ip", "0.0.0.0"), ("IP0=host", "ip", "0.0.0.0"),
])
def test_destinations_are_read_as_the_settings_page_says(folder, line, member, value):
    (folder / "ruvo.txt").write_text(f"ECount=1\nEProtocol0=UDP\nE{line}\n", newline="")
    assert plan("E")["steps"][0]["destination"][member] == value


@pytest.mark.parametrize("data, sent", [
    ("48656C6C6F", "48656C6C6F"), ("414", "4104"), ("41 42", "410402"), ("0x41", ""), ("41,42", "41"),
    (" F-1", "0FFF"), ("4142\r", "4142"), ("5C6E5C725C74", "0A0D09"), ("7B7B78", "7B7B78"), ("417B7B6E6F7D7D42", "4142"),
    ("41" * 104, "41" * 103), ("41004242", "41"),
])
def test_data_is_read_as_the_settings_page_says(folder, data, sent):
    (folder / "ruvo.txt").write_text(f"ECount=1\nEProtocol0=UDP\nEData0={data}\n", newline="")
    assert plan("E")["steps"][0]["data"]["hex"] == sent


def test_indices_wrap_as_the_settings_page_says(folder):
    (folder / "ruvo.txt").write_text("ECount=2\nEProtocol1=UDP\nEData-4294967295=41\nEData-1=42\n")
    assert [step["data"]["hex"] for step in plan("E")["steps"]] == ["", "41"]


@pytest.mark.parametrize("event, outcome", [
    ("DVIConnected", "skipped"), ("dviDISCONNECTED", "skipped"), ("PowerOn", "sends")])
def test_the_power_on_window_is_as_the_settings_page_says(folder, event, outcome):
    (folder / "ruvo.txt").write_text(f"{event}Count=1\n{event}Protocol0=UDP\n{event}Port0=9\n")
    assert plan(event, "--uptime=100")["steps"][0]["outcome"] == outcome
    assert plan(event, "--uptime=200")["steps"][0]["outcome"] == "sends"


@pytest.mark.parametrize("delay, due", [(0, [0, 0]), (5, [5, 5.1])])
def test_steps_keep_their_order_as_the_settings_page_says(folder, delay, due):
    (folder / "ruvo.txt").write_text(f"ECount=2\nEDelay0={delay}\nEDelay1=0\n")
    assert [step["due_ms"] for step in plan("E")["steps"]] == due


@pytest.mark.parametrize("order, due", [((0, 1, 2), [100, 300, 600]), ((2, 1, 0), [100, 200, 300])])
def test_delays_add_up_as_the_settings_page_says(folder, order, due):
    lines = "".join(f"EDelay{step}={100 * step + 100}\n" for step in order)
    (folder / "ruvo.txt").write_text(f"ECount=3\n{lines}")
    assert [step["delay_ms"] for step in plan("E")["steps"]] == due
