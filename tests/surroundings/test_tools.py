"""Shell tools that are missing, hang, crash, or print what nobody has asked for."""

import os
import signal
import time

import pytest
from harness import (
    DEVKIT,
    LOG,
    PID_FILE,
    RELOADED,
    STATE,
    VARIABLES,
    command_port_listens,
    request,
    text_of,
    touch,
    trigger,
    wait_until,
)
from mounts import replace_program
from plant import Asking, descendants

TOOLS = ("nc", "timeout", "tr", "userconfigtool", "sh")

GARBAGE, MEGABYTES, NEVER = STATE / "garbage", STATE / "megabytes", STATE / "never"
PAIRS = 200_000

# What stands in a tool's place. bash runs it, since the shell itself may be what fails.
FAULTS = {
    "missing": "",
    "hanging": "exec /usr/bin/sleep 1000",
    "deaf": f"trap '' TERM; read <>{NEVER}",
    "crashing": "kill -SEGV $$",
    "killed": "echo true; echo a:b; kill -KILL $$",
    "garbage": f"exec /usr/bin/cat {GARBAGE}",
    "megabytes": f"exec /usr/bin/cat {MEGABYTES}",
    "endless": "exec /usr/bin/yes",
}


def never_ends(tool, fault):
    """Whether a shell command waits for this until somebody ends it."""
    if fault in ("hanging", "deaf"):
        # Its own watchman ends it, when it listens.
        return not (tool == "nc" and fault == "hanging")
    # A reader that goes away ends it; the status report is read to its end.
    return fault == "endless" and tool in ("timeout", "tr", "sh")


def every_case(*quick):
    cases = [
        pytest.param(
            tool, fault, id=f"{tool}-{fault}",
            marks=() if (tool, fault) in quick else pytest.mark.full,
        )
        for tool in TOOLS
        for fault in FAULTS
    ]
    return pytest.mark.parametrize("tool, fault", cases)


class Toolbox:
    """The only folder in the daemon's path: links to real tools, and what stands in for one."""

    def __init__(self, device):
        self._folder = STATE / "tools"
        self._folder.mkdir()
        GARBAGE.write_bytes(bytes(range(256)) * 5)
        MEGABYTES.write_text("".join(f"name{number}:value of {number}\n" for number in range(PAIRS)))
        os.mkfifo(NEVER)
        for tool in (*TOOLS[:3], "mkdir"):
            self._link(tool)
        self._link("userconfigtool")
        device.environment["PATH"] = str(self._folder)
        self._undo = None

    def _link(self, tool):
        real = DEVKIT / tool if tool == "userconfigtool" else f"/usr/bin/{tool}"
        (self._folder / tool).symlink_to(real)

    def spoil(self, tool, fault):
        if tool == "sh":
            # A program whose interpreter is not there cannot be started: it is not there either.
            interpreter = "/nowhere" if fault == "missing" else "/bin/bash"
            self._undo = replace_program("/bin/sh", f"#!{interpreter}\n{FAULTS[fault]}\n")
        elif fault == "missing":
            (self._folder / tool).unlink()
            self._undo = lambda: self._link(tool)
        else:
            self.replace(tool, FAULTS[fault])

    def replace(self, tool, script):
        # Whatever runs at the moment is not written to.
        new = self._folder / f".{tool}"
        new.write_text(f"#!/bin/bash\n{script}\n")
        new.chmod(0o755)
        new.rename(self._folder / tool)

        def undo():
            (self._folder / tool).unlink()
            self._link(tool)

        self._undo = undo

    def mend(self):
        if self._undo:
            self._undo()
        self._undo = None


@pytest.fixture
def tools(plant):
    toolbox = Toolbox(plant.device)
    yield toolbox
    toolbox.mend()


def end_commands(pid):
    """Ends what the daemon waits for, as somebody at the console would."""
    for number in descendants(pid):
        try:
            os.kill(number, signal.SIGKILL)
        except ProcessLookupError:
            pass


def wait_for_replies(plant, *asked):
    """Ends hanging commands until everybody has his reply."""
    def all_answered():
        end_commands(plant.pid)
        return not any(one.waits() for one in asked)

    wait_until(all_answered, "everybody is answered")
    return [one.reply for one in asked]


def expected_variables(tool, fault, before):
    """What the variables are after a question to the status service that goes wrong."""
    if fault == "megabytes" and tool in ("timeout", "tr", "sh"):
        return "".join(f"name{number}=value of {number}\n" for number in range(PAIRS))
    return before


@every_case(("nc", "deaf"), ("tr", "garbage"), ("userconfigtool", "hanging"))
def test_a_tool_that_fails_while_it_runs_costs_its_answer_only(plant, tools, tool, fault, record_property):
    daemon = plant.start()
    variables, log = text_of(VARIABLES), len(text_of(LOG))
    # Needs no tool any more: the queue and the senders go on whatever hangs.
    trigger("Later")
    tools.spoil(tool, fault)
    start = time.monotonic()
    asked = Asking(b"Hall\n")
    plant.wait_for(b"later")
    hangs = tool != "userconfigtool" and never_ends(tool, fault)
    if hangs:
        assert asked.waits() and time.monotonic() - start > 0.2
        assert wait_for_replies(plant, asked) == [b"Hall\n"]
    assert asked.wait() == b"Hall\n"
    plant.wait_for(b"hall")
    if not hangs:
        # nc has a tenth of a second, in which megabytes do or do not arrive.
        shown = text_of(VARIABLES)
        assert shown == expected_variables(tool, fault, variables) or (tool, fault) in (
            ("nc", "megabytes"), ("nc", "endless"))

    reloads = daemon.reloads()
    touch()
    hangs = tool in ("userconfigtool", "sh") and fault in ("hanging", "deaf")
    if hangs:
        wait_until(lambda: descendants(plant.pid), "the reload waits for its tool")
        assert daemon.reloads() == reloads
        wait_until(lambda: end_commands(plant.pid) or daemon.reloads() > reloads, "the reload goes on")
    daemon.wait_for_reloads(reloads + 1)

    asked = Asking(b"__SET__:network.ruvo.enable=1\n")
    assert wait_for_replies(plant, asked) == [b"Error: fail command:__SET__\n"]
    asked = Asking(b"__TEST__:Probe\n")
    assert wait_for_replies(plant, asked) == [b"call event Probe"]
    assert "Error" not in text_of(LOG)[log:].replace("Error: fail command", "")
    record_property("seconds until all was answered", round(time.monotonic() - start, 1))

    tools.mend()
    end_commands(plant.pid)
    wait_until(lambda: trigger("Nobody") or text_of(VARIABLES) == variables, "the variables are the old ones")
    plant.recover()


@every_case(("sh", "missing"))
def test_a_daemon_starts_although_a_tool_fails(plant, tools, tool, fault):
    tools.spoil(tool, fault)
    plant.daemon = daemon = plant.device.start_daemon(wait=False)

    def goes_on():
        assert daemon.running()
        end_commands(daemon.pid)
        return command_port_listens()

    if tool in ("userconfigtool", "sh") and fault in ("hanging", "deaf", "endless"):
        wait_until(lambda: descendants(daemon.pid), "it waits for its tool")
        assert not command_port_listens()
        wait_until(goes_on, "it goes on when the tool is ended")
    wait_until(command_port_listens, "it listens")
    assert daemon.output().count(RELOADED) == 1
    assert "Error" not in daemon.output()
    tools.mend()
    end_commands(daemon.pid)
    wait_until(lambda: text_of(VARIABLES), "it gets its status variables")
    PID_FILE.write_text(f"{daemon.pid}\n")
    before = daemon.reloads()
    wait_until(lambda: touch() or daemon.reloads() > before, "it reads changed settings")
    # Where garbage has ended the wait for the status service, the next question gives the real ones.
    wait_until(
        lambda: trigger("Nobody") or text_of(VARIABLES).startswith("model=AV-100\n"), "the real variables"
    )
    plant.note_footprint()
    plant.recover()


def test_a_command_takes_effect_while_a_reload_waits_for_its_tool(plant, tools):
    """The switch is a word in memory: who sets it does not wait for who asks for it."""
    plant.start()
    tools.replace("userconfigtool", '[ "$1" = set ] || exec /usr/bin/sleep 1000')
    reloads = plant.daemon.reloads()
    touch()
    wait_until(lambda: descendants(plant.pid), "the reload waits for its tool")
    assert request(b"__SET__:network.ruvo.enable=0\n") == b"Error: fail command:__SET__\n"
    assert request(b"Hall") == b"Event Disabled, skip Hall"
    assert request(b"__SET__:network.ruvo.enable=1\n") == b"Error: fail command:__SET__\n"
    plant.deliver()
    assert plant.daemon.reloads() == reloads
    tools.mend()
    end_commands(plant.pid)
    plant.daemon.wait_for_reloads(reloads + 1)
    plant.recover()


def test_an_answer_that_comes_while_a_command_is_stored_does_not_count(plant, tools):
    """The store still says true while the tool that is to write false hangs."""
    plant.start()
    tools.replace("userconfigtool", 'if [ "$1" = set ]; then exec /usr/bin/sleep 1000; fi; echo true')
    reloads = plant.daemon.reloads()
    asked = Asking(b"__SET__:network.ruvo.enable=0\n")
    wait_until(lambda: descendants(plant.pid), "the command waits for its tool")
    touch()
    plant.daemon.wait_for_reloads(reloads + 1)
    assert wait_for_replies(plant, asked) == [b"Error: fail command:__SET__\n"]
    assert request(b"Hall") == b"Event Disabled, skip Hall"
    touch()
    plant.daemon.wait_for_reloads(reloads + 2)
    assert request(b"Nobody\n") == b"Nobody\n", "the next answer counts again"
    tools.mend()
    plant.recover()
