"""The switch that the user configuration gives: which answers of its tool count, and when."""

import errno
import os
import subprocess
import threading

import pytest

from fault_orders import ALWAYS, LIBRARY, CallOrders
from harness import DEVKIT, LOG, STATE, event, request, text_of, touch, wait_until

ANSWER = STATE / "answer"
TOOL = '[ "$1" = get ] && cat /tmp/device/answer\nexit 0\n'


def switched_on():
    reply = request(b"Lamp")
    assert reply in (b"Lamp\n", b"Event Disabled, skip Lamp")
    return reply == b"Lamp\n"


# The first reading.


@pytest.mark.parametrize("answer, expected, reason", [
    (b"true\n", True, "the plain word"),
    (b"TRUE\n", True, "case does not count"),
    (b"tRuE\n", True, "case does not count"),
    (b"trueish\n", True, "only the first four characters count"),
    (b"true", True, "the line end is not needed"),
    (b"true false\n", True, "the beginning counts"),
    (b"true\nfalse\n", True, "only the first line is read"),
    (b"false\n", False, "the plain word"),
    (b"false\ntrue\n", False, "only the first line is read"),
    (b"\ntrue\n", False, "an empty first line says nothing"),
    (b"1\n", False, "a number says nothing"),
    (b" true\n", False, "the word must stand at the beginning"),
    (b"tru\n", False, "a part of the word says nothing"),
    (b"yes\n", False, "another word says nothing"),
    (b"", False, "no answer says nothing"),
], ids=repr)
def test_the_first_answer_decides_from_off(bare_device, answer, expected, reason):
    ANSWER.write_bytes(answer)
    bare_device.replace_tool(TOOL)
    bare_device.start_daemon()
    assert switched_on() is expected, reason


def test_the_key_is_asked_with_false_as_its_default(bare_device):
    bare_device.replace_tool('[ "$*" = "get boolean network.ruvo.enable=false" ] && echo true\n')
    bare_device.start_daemon()
    assert switched_on()


def test_a_key_that_was_never_set_is_off(bare_device):
    bare_device.start_daemon()
    assert not switched_on()


def test_a_key_that_is_true_is_on(bare_device):
    bare_device.enable()
    bare_device.start_daemon()
    assert switched_on()


def test_the_exit_status_of_the_tool_does_not_count(bare_device):
    bare_device.replace_tool('[ "$1" = get ] && echo true\nexit 3\n')
    bare_device.start_daemon()
    assert switched_on()


def test_an_error_text_of_the_tool_does_not_count(bare_device):
    bare_device.replace_tool("echo true >&2\n")
    bare_device.start_daemon(stderr=subprocess.DEVNULL)
    assert not switched_on()


def test_without_the_tool_it_is_off(bare_device):
    path = bare_device.environment["PATH"].replace(f"{DEVKIT}:", "")
    bare_device.start_daemon(environment={"PATH": path})
    assert not switched_on()


def test_a_pipe_that_cannot_be_started_leaves_it_off(bare_device):
    bare_device.enable()
    CallOrders(bare_device).fail("popen", errno.EAGAIN, times=ALWAYS, only="userconfigtool")
    daemon = bare_device.start_daemon("-d", preload=[LIBRARY])
    assert not switched_on()
    # The debug line is printed all the same, for the context and for the reader.
    assert daemon.output().count("[renew_enable_event:700] enable event=0\n") == 2


# Later readings.


def after_a_reload(device, first, second):
    ANSWER.write_bytes(first)
    device.replace_tool(TOOL)
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    ANSWER.write_bytes(second)
    touch()
    daemon.wait_for_reloads(2)
    return switched_on()


@pytest.mark.parametrize("answer, expected, reason", [
    (b"false\n", False, "the plain word"),
    (b"False\n", False, "case does not count"),
    (b"FALSEhood\n", False, "only the first five characters count"),
    (b"fals\n", True, "a part of the word says nothing"),
    (b"0\n", True, "a number says nothing"),
    (b" false\n", True, "the word must stand at the beginning"),
    (b"error: no such key\n", True, "an error text says nothing"),
    (b"", True, "no answer says nothing"),
], ids=repr)
def test_a_later_answer_decides_from_on(device, answer, expected, reason):
    assert after_a_reload(device, b"true\n", answer) is expected, reason


def test_a_later_answer_switches_on(device):
    assert after_a_reload(device, b"false\n", b"true\n") is True


def test_a_pipe_that_cannot_be_started_later_leaves_it_on(device):
    # The first two readings are the start's.
    CallOrders(device).fail("popen", errno.EAGAIN, after=2, times=ALWAYS, only="userconfigtool")
    daemon = device.start_daemon("-d", preload=[LIBRARY])
    daemon.wait_for_supervision()
    device.enable(False)
    touch()
    daemon.wait_for_reloads(2)
    assert switched_on()
    assert daemon.output().count("[renew_enable_event:700] enable event=1\n") == 3


def test_a_change_of_the_user_configuration_alone_is_not_seen(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.enable(False)
    daemon.wait_for_passes(6)
    assert switched_on()


def test_a_change_of_the_user_configuration_is_seen_at_the_next_reading(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.enable(False)
    touch()
    daemon.wait_for_reloads(2)
    assert not switched_on()


def test_a_trigger_does_not_read_the_switch(device):
    device.replace_tool('[ "$1" = get ] && echo x >> /tmp/device/asked\necho true\n')
    device.start_daemon().wait_for_supervision()
    assert (STATE / "asked").read_text() == "x\nx\n"
    assert switched_on()
    assert (STATE / "asked").read_text() == "x\nx\n"


def test_a_command_is_not_overwritten_by_an_answer_that_is_older(device):
    """The tool has answered a reload, but not ended, when the command comes."""
    device.replace_tool(
        f'answer=$({DEVKIT}/userconfigtool "$@")\n'
        '[ "$1" = set ] || [ ! -e /tmp/device/hold ] || { echo > /tmp/device/asked; cat /tmp/device/hold; }\n'
        'echo "$answer"\n'
    )
    device.write_settings(event("Lamp", ("127.0.0.1", "9", "none", b"")))
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert switched_on()
    before = daemon.reloads()

    os.mkfifo(STATE / "hold")
    touch()
    wait_until((STATE / "asked").exists, "the reload has its answer")
    command = threading.Thread(target=request, args=(b"__SET__:network.ruvo.enable=0",))
    command.start()
    wait_until(lambda: "key=__SET__" in text_of(LOG), "the command has come")
    with open(STATE / "hold", "w"):
        (STATE / "hold").unlink()
    command.join()
    daemon.wait_for_reloads(before + 1)
    assert not switched_on()
