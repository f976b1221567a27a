"""The administrative commands of the command port, each with its one reply."""

import errno
import os
import re
import socket
import struct

import pytest

from fault_orders import ALWAYS, LIBRARY, CallOrders
from harness import (
    ASC_MIRROR, COMMAND_PORT, DEVKIT, EVENT_LIST, EVENT_LOG, HEX_MIRROR, LOG, SETTINGS, STATE,
    TEST_ASC_MIRROR, TEST_EVENT_LIST, TEST_HEX_MIRROR, TEST_SETTINGS, event, request, text_of,
    trigger, wait_for_line_on_both_outputs, wait_until,
)
from process import change_settings, descriptors

SET_REPLY = b"Error: fail command:__SET__\n"
ENABLE = b"network.ruvo.enable"
DEFAULT_LINES = (
    "FastCableDetectEvents=false\nPowerOnCount=0\nPowerOnDelay=1\nDVIConnectedCount=0\nDVIConnectedDelay=0\n"
    "DVIDisconnectedCount=0\nDVIDisconnectedDelay=0\nGenericEventsCount=0\nDataEncode=HEX\n"
)
NO_TEST_SETTINGS = (
    "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvotest.txt, writ default\n"
)
MALFORMED = r"Error: \[handle_tcp_command:\d+\] rebuild_ruvo_event_list\(\): stoul\n"


def lamp(receiver, data=b"test", name="Lamp", **options):
    return event(name, (receiver.ip, receiver.port, "UDP", data), **options)


def run_test(name):
    """Runs a test event; its reply has no line end."""
    reply = request(b"__TEST__:" + name.encode() + b"\n")
    assert reply == b"call event " + name.encode(), reply


def set_switch(value):
    reply = request(b"__SET__:" + ENABLE + b"=" + value)
    assert reply == SET_REPLY, reply


def switched_on():
    reply = request(b"Nobody")
    assert reply in (b"Nobody\n", b"Event Disabled, skip Nobody")
    return reply == b"Nobody\n"


def stored_switch(device):
    return device.run_tool("get", "boolean", "network.ruvo.enable=false")


def datas(receiver):
    return [arrival.data for arrival in receiver.arrivals]


# Test events.


def test_a_test_event_is_sent_from_the_test_settings(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"normal"))
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    device.start_daemon()
    assert request(b"__TEST__:Lamp") == b"call event Lamp"
    receiver.wait_for(1)
    trigger("Lamp")
    receiver.wait_for(2)
    assert datas(receiver) == [b"test", b"normal"]


def test_a_line_end_behind_the_name_does_not_count(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    device.start_daemon()
    assert request(b"__TEST__:Lamp\n") == b"call event Lamp"
    assert request(b"__TEST__:Lamp\n\n") == b"call event Lamp\n"
    receiver.wait_for(2)


def test_a_value_behind_the_name_does_not_count(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    device.start_daemon()
    assert request(b"__TEST__:Lamp=Door\n") == b"call event Lamp"
    receiver.wait_for(1)


def test_a_test_event_runs_while_events_are_disabled(device):
    receiver = device.udp_receiver()
    device.enable(False)
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    daemon = device.start_daemon()
    run_test("Lamp")
    receiver.wait_for(1)
    assert not switched_on()
    assert "disable event" not in daemon.output()
    assert "disabled uptime" not in text_of(EVENT_LOG)


def test_a_test_event_runs_within_the_power_on_window(device):
    receiver = device.udp_receiver()
    device.enable(False)
    device.write_settings(lamp(receiver, name="DVIConnected"), TEST_SETTINGS)
    daemon = device.start_daemon(uptime_s=30)
    run_test("DVIConnected")
    receiver.wait_for(1)
    assert "during Power On" not in daemon.output()
    assert "skip uptime" not in text_of(EVENT_LOG)


def test_a_test_event_does_not_wait_for_its_delay(device):
    receiver = device.udp_receiver()
    # As a delay it would be longer than the patience of the test.
    device.write_settings(lamp(receiver, delay=50), TEST_SETTINGS)
    device.start_daemon()
    run_test("Lamp")
    receiver.wait_for(1)


def test_the_delay_of_a_step_counts_in_a_test_event_too(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"first"),
            (receiver.ip, receiver.port, "UDP", b"second", 1000),
        ),
        TEST_SETTINGS,
    )
    device.start_daemon()
    run_test("Lamp")
    first, second = receiver.wait_for(2)
    assert (first.data, second.data) == (b"first", b"second")
    assert second.time_s - first.time_s > 0.9


def test_a_test_event_is_known_by_its_own_name(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, xml_field="Knob"), TEST_SETTINGS)
    daemon = device.start_daemon("-d")
    run_test("Knob")
    daemon.wait_for_output(r"not found sys event=Knob\n")
    run_test("Lamp")
    receiver.wait_for(1)


@pytest.mark.parametrize("name", ["Nobody", "Normal", "lamp", " Lamp", "Lamp:", "%s%n"])
def test_an_unknown_test_event_is_answered_like_any_other(device, name):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"normal", name="Normal"))
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    daemon = device.start_daemon("-d")
    run_test(name)
    daemon.wait_for_output(re.escape(f"not found sys event={name}\n"))
    run_test("Lamp")
    receiver.wait_for(1)
    assert datas(receiver) == [b"test"]


def test_a_test_without_a_name_is_answered_without_one(device):
    device.write_settings("", TEST_SETTINGS)
    daemon = device.start_daemon("-d")
    assert request(b"__TEST__:") == b"call event "
    assert request(b"__TEST__:\n") == b"call event "
    assert "not found sys event" not in daemon.output()


def test_a_test_expands_the_data_like_a_normal_event(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"input is {{input}}"), TEST_SETTINGS)
    device.start_daemon()
    run_test("Lamp")
    assert receiver.wait_for(1)[0].data == b"input is HDMI1"


def test_the_test_settings_are_read_for_each_test(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"one"), TEST_SETTINGS)
    device.start_daemon()
    run_test("Lamp")
    receiver.wait_for(1)
    device.write_settings(lamp(receiver, b"two"), TEST_SETTINGS)
    run_test("Lamp")
    receiver.wait_for(2)
    assert datas(receiver) == [b"one", b"two"]


def test_a_test_writes_the_files_of_the_test_side(device):
    device.write_settings(event("Normal", ("192.0.2.1", 9, "none", b"N")))
    device.write_settings(event("Lamp", ("192.0.2.1", 9, "none", b"T"), delay=3), TEST_SETTINGS)
    device.start_daemon()
    for path in (TEST_EVENT_LIST, TEST_ASC_MIRROR, TEST_HEX_MIRROR):
        assert not path.exists()
    run_test("Lamp")
    assert text_of(TEST_EVENT_LIST) == "Lamp;Lamp;0:T:0;Delay=3;\n"
    # The mirrors with the test names show the normal settings.
    assert text_of(TEST_HEX_MIRROR) == text_of(SETTINGS) == text_of(HEX_MIRROR)
    assert text_of(TEST_ASC_MIRROR) == text_of(ASC_MIRROR) != text_of(TEST_HEX_MIRROR)


def test_a_test_leaves_the_files_and_the_list_of_the_normal_side(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"normal"))
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    paths = (SETTINGS, TEST_SETTINGS, EVENT_LIST, ASC_MIRROR, HEX_MIRROR)

    def state():
        return [(os.stat(path).st_mtime_ns, path.read_bytes()) for path in paths]

    before, log = state(), text_of(LOG)
    run_test("Lamp")
    receiver.wait_for(1)
    daemon.wait_for_passes(2)
    assert state() == before
    assert text_of(LOG)[len(log):] == (
        "[handle_tcp_event:1434] Recv[14]:key=__TEST__:Lamp\n,value=__TEST__:Lamp\n"
    )
    trigger("Lamp")
    receiver.wait_for(2)
    assert datas(receiver) == [b"test", b"normal"]


@pytest.mark.parametrize("enabled", [True, False])
def test_missing_test_settings_get_the_defaults(device, enabled):
    device.enable(enabled)
    daemon = device.start_daemon()
    assert not TEST_SETTINGS.exists()
    run_test("PowerOn")
    assert text_of(TEST_SETTINGS) == f"EnableEvents={str(enabled).lower()}\n" + DEFAULT_LINES
    assert TEST_EVENT_LIST.exists() and text_of(TEST_EVENT_LIST) == ""
    wait_for_line_on_both_outputs(daemon, NO_TEST_SETTINGS)


def test_unreadable_test_settings_keep_the_previous_list(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"one"), TEST_SETTINGS)
    CallOrders(device).fail("open_to_read", errno.EACCES, after=1, times=ALWAYS, only=str(TEST_SETTINGS))
    daemon = device.start_daemon(preload=[LIBRARY])
    run_test("Lamp")
    device.write_settings(lamp(receiver, b"two"), TEST_SETTINGS)
    run_test("Lamp")
    receiver.wait_for(2)
    assert datas(receiver) == [b"one", b"one"]
    wait_for_line_on_both_outputs(
        daemon,
        NO_TEST_SETTINGS
        + "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvotest.txt;Permission denied\n",
    )


def test_malformed_test_settings_keep_the_previous_list_and_cost_a_line(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"one"), TEST_SETTINGS)
    daemon = device.start_daemon()
    run_test("Lamp")
    listed = text_of(TEST_EVENT_LIST)
    malformed = lamp(receiver, b"two") + lamp(receiver, name="Door") + "LampDataX=41\n"
    device.write_settings(malformed, TEST_SETTINGS)
    run_test("Lamp")
    receiver.wait_for(2)
    assert datas(receiver) == [b"one", b"one"]
    assert text_of(TEST_EVENT_LIST) == listed
    for text in (daemon.output(), text_of(LOG)):
        assert len(re.findall(MALFORMED, text)) == 1
    run_test("Door")
    assert len(re.findall(MALFORMED, text_of(LOG))) == 2
    # Mended settings count again.
    device.write_settings(lamp(receiver, b"three"), TEST_SETTINGS)
    run_test("Lamp")
    receiver.wait_for(3)
    assert datas(receiver) == [b"one", b"one", b"three"]


@pytest.mark.parametrize("line", [
    "LampDataX=41\n", "LampData99999999999999999999=41\n", "LampCount-=1\n",
], ids=repr)
def test_malformed_test_settings_at_first_leave_no_test_events(device, line):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, b"normal"))
    device.write_settings(lamp(receiver) + line, TEST_SETTINGS)
    daemon = device.start_daemon("-d")
    run_test("Lamp")
    daemon.wait_for_output(r"not found sys event=Lamp\n")
    assert not TEST_EVENT_LIST.exists()
    trigger("Lamp")
    receiver.wait_for(1)
    assert datas(receiver) == [b"normal"]


def test_a_test_reads_the_switch_again(device):
    device.write_settings("", TEST_SETTINGS)
    device.start_daemon()
    device.enable(False)
    assert switched_on()
    run_test("Lamp")
    assert not switched_on()


# The switch.


def test_switching_answers_with_the_text_of_a_failure(device):
    device.start_daemon()
    for value in (b"1", b"0", b"yes"):
        reply = request(b"__SET__:network.ruvo.enable=" + value)
        assert reply.hex() == "4572726f723a206661696c20636f6d6d616e643a5f5f5345545f5f0a"
        assert reply == SET_REPLY


def test_switching_on_counts_at_once_and_is_stored(device):
    receiver = device.udp_receiver()
    device.enable(False)
    device.write_settings(lamp(receiver, b"lamp"))
    device.start_daemon()
    assert not switched_on()
    set_switch(b"1\n")
    trigger("Lamp")
    receiver.wait_for(1)
    assert stored_switch(device) == b"true\n"


def test_switching_off_counts_at_once_and_is_stored(device):
    device.start_daemon()
    assert switched_on()
    set_switch(b"0")
    assert not switched_on()
    assert stored_switch(device) == b"false\n"


def test_switching_off_holds_back_what_is_queued(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver, delay=2))
    daemon = device.start_daemon()
    trigger("Lamp")
    set_switch(b"0")
    daemon.wait_for_output(r"\[exec_event:847\] disable event, skip test\n")
    assert not receiver.arrivals


@pytest.mark.parametrize("value, shown", [(b"1", b"1"), (b"0", b"0")])
def test_a_switch_is_the_same_by_every_way_and_after_a_restart(device, value, shown):
    device.enable(value == b"0")
    daemon = device.start_daemon()
    set_switch(value)

    def assert_switched():
        assert switched_on() is (value == b"1")
        assert request(b"__GET__:network.ruvo.enable\n") == b"network.ruvo.enable=" + shown + b"\n"
        assert stored_switch(device) == (b"true\n" if value == b"1" else b"false\n")

    assert_switched()
    change_settings()
    assert_switched()
    daemon.stop()
    device.start_daemon()
    assert_switched()


@pytest.mark.parametrize("key", [b"NETWORK.RUVO.ENABLE", b"Network.Ruvo.Enable", b"network.ruvo.enable\n"])
def test_the_case_of_the_key_and_its_line_end_do_not_count(device, key):
    device.start_daemon()
    assert request(b"__SET__:" + key + b"=0") == SET_REPLY
    assert not switched_on()
    assert stored_switch(device) == b"false\n"


@pytest.mark.parametrize("text", [
    b"network.ruvo.enable=%s",
    b"network.ruvo.enable=yes",
    b"network.ruvo.enable=true",
    b"network.ruvo.enable=0\r\n",
    b"network.ruvo.enable=0\n\n",
    b"network.ruvo.enable=0 ",
    b"network.ruvo.enable= 0",
    b"network.ruvo.enable=00",
    b"network.ruvo.enable=0=1",
    b"network.ruvo.enable=",
    b"network.ruvo.enable=\n",
    b"network.ruvo.enable",
    b"network.ruvo.enable\n",
    b"network.ruvo.import=0",
    b"network.ruvo.enabled=0",
    b"network.ruvo.enable =0",
    b" network.ruvo.enable=0",
    b"network.ruvo.enable\n\n=0",
    b"=0",
    b"",
], ids=repr)
def test_any_other_key_or_value_changes_nothing(device, text):
    device.replace_tool('[ "$1" = set ] && echo "$*" >>/tmp/device/stored\necho true\n')
    daemon = device.start_daemon()
    stored = text_of(STATE / "stored")
    log = text_of(LOG)
    assert request(b"__SET__:" + text) == SET_REPLY
    assert switched_on()
    assert text_of(STATE / "stored") == stored == "set boolean network.ruvo.import=false\n"
    for output in (daemon.output(), text_of(LOG)[len(log):]):
        assert "value error" not in output and "key not match" not in output


def test_switching_on_without_need_is_stored_again(device):
    device.replace_tool('[ "$1" = set ] && echo "$*" >>/tmp/device/stored\n[ "$1" = get ] && echo true\n')
    device.start_daemon()
    set_switch(b"1")
    set_switch(b"1")
    assert text_of(STATE / "stored") == (
        "set boolean network.ruvo.import=false\n" + "set boolean network.ruvo.enable=true\n" * 2
    )


def test_the_reply_comes_when_the_tool_has_ended(device):
    device.replace_tool(
        '[ "$1 $3" = "set network.ruvo.enable=false" ] && sleep 0.5 && : >/tmp/device/ended\n'
    )
    device.start_daemon()
    set_switch(b"0")
    assert (STATE / "ended").exists()


def test_a_tool_that_fails_does_not_keep_the_switch_from_memory(device):
    device.replace_tool('[ "$1" = get ] && echo false\n[ "$1" = set ] && echo the tool runs\nexit 3\n')
    daemon = device.start_daemon("-d")
    assert not switched_on()
    set_switch(b"1")
    assert switched_on()
    # The main thread may say something between them.
    assert re.search(
        r"\[handle_tcp_command:1549\] s_cmd=userconfigtool set boolean network\.ruvo\.enable=true\n"
        r"(.*\n)*the tool runs\n"
        r"(.*\n)*\[_system:156\] Error: run userconfigtool set boolean network\.ruvo\.enable=true\n",
        daemon.output(),
    )


def test_a_missing_tool_does_not_keep_the_switch_from_memory(bare_device):
    path = bare_device.environment["PATH"].replace(f"{DEVKIT}:", "")
    bare_device.start_daemon(environment={"PATH": path})
    assert not switched_on()
    set_switch(b"1")
    assert switched_on()


def test_the_other_keys_of_the_store_are_kept(device):
    device.run_tool("set", "string", "network.name=Main hall")
    device.start_daemon()
    set_switch(b"0")
    assert device.run_tool("get", "string", "network.name=?") == b"Main hall\n"


def test_the_steps_are_told_while_debugging_only(device):
    daemon = device.start_daemon("-d")
    log_before = text_of(LOG)
    set_switch(b"1\n")
    set_switch(b"0")
    set_switch(b"yes\n")
    request(b"__SET__:other=1")
    for lines in (
        "[handle_tcp_command:1540] key=network.ruvo.enable, value=1\n\n"
        "[handle_tcp_command:1549] s_cmd=userconfigtool set boolean network.ruvo.enable=true\n",
        "[handle_tcp_command:1540] key=network.ruvo.enable, value=0\n"
        "[handle_tcp_command:1556] s_cmd=userconfigtool set boolean network.ruvo.enable=false\n",
        "[handle_tcp_command:1540] key=network.ruvo.enable, value=yes\n\n"
        "[handle_tcp_command:1559] value error: yes\n",
        "[handle_tcp_command:1540] key=other, value=1\n[handle_tcp_command:1562] key not match:other\n",
    ):
        daemon.wait_for_output(re.escape(lines))
    assert "handle_tcp_command" not in text_of(LOG)[len(log_before):]


# Refusals.


@pytest.mark.parametrize("text, named", [
    (b"__TEST__", b"__TEST__"),
    (b"__TEST__\n", b"__TEST__"),
    (b"__TEST__\n\n", b"__TEST__\n"),
    (b"__TEST__\r\n", b"__TEST__\r"),
    (b"__TEST__=PowerOn\n", b"__TEST__"),
    (b"__TEST__ PowerOn", b"__TEST__ PowerOn"),
    (b"__SET__=network.ruvo.enable:0", b"__SET__"),
    (b"__", b"__"),
    (b"__=", b"__"),
    (b"__%s%n", b"__%s%n"),
], ids=repr)
def test_a_command_without_a_colon_is_refused_and_told(device, text, named):
    daemon = device.start_daemon()
    assert request(text) == b"Error: fail command:" + named + b"\n"
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_command:1512] Error command: Error: fail command:" + named.decode() + "\n",
    )
    assert switched_on()


@pytest.mark.parametrize("text, word", [
    (b"__FOO__:x\n", b"__FOO__"),
    (b"__FOO__:", b"__FOO__"),
    (b"__:PowerOn", b"__"),
    (b"__test__:PowerOn", b"__test__"),
    (b"__TEST__ :PowerOn", b"__TEST__ "),
    (b"__TEST__X:PowerOn", b"__TEST__X"),
    (b"__SET_:network.ruvo.enable=0", b"__SET_"),
    (b"__%s%n:x", b"__%s%n"),
], ids=repr)
def test_an_unknown_command_is_refused_in_silence(device, text, word):
    daemon = device.start_daemon()
    assert request(text) == b"Error: fail command:" + word + b"\n"
    assert switched_on()
    for output in (daemon.output(), text_of(LOG)):
        assert "handle_tcp_command" not in output and "fail command" not in output


def test_a_request_is_logged_before_its_command(device):
    daemon = device.start_daemon()
    request(b"__TEST__\n")
    request(b"__FOO__:x=1")
    request(b"Lamp")
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_event:1434] Recv[9]:key=__TEST__\n,value=__TEST__\n"
        "[handle_tcp_command:1512] Error command: Error: fail command:__TEST__\n"
        "[handle_tcp_event:1434] Recv[9]:key=__FOO__:x,value=1"
        "[handle_tcp_event:1434] Recv[4]:key=Lamp,value=Lamp[handle_tcp_event:1461] send() Lamp\n\n",
    )


# While events are disabled, and requests of any length.


def test_every_command_works_while_events_are_disabled(device):
    receiver = device.udp_receiver()
    device.enable(False)
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    device.start_daemon()
    assert request(b"__GET__:network.ruvo.enable") == b"network.ruvo.enable=0\n"
    run_test("Lamp")
    receiver.wait_for(1)
    assert request(b"__TEST__") == b"Error: fail command:__TEST__\n"
    assert request(b"__FOO__:") == b"Error: fail command:__FOO__\n"
    assert not switched_on()
    set_switch(b"1")
    assert switched_on()


@pytest.mark.parametrize("text, reply", [
    (b"__GET__:" + b"k" * 1015, b"k" * 1015 + b"=\n"),
    (b"__GET__:" + b"k" * 1014 + b"\n", b"k" * 1014 + b"=\n"),
    (b"__TEST__:" + b"L" * 1014, b"call event " + b"L" * 1014),
    (b"__" + b"x" * 1021, b"Error: fail command:__" + b"x" * 1021 + b"\n"),
    (b"__" + b"x" * 1020 + b":", b"Error: fail command:__" + b"x" * 1020 + b"\n"),
    (b"__SET__:network.ruvo.enable=" + b"0" * 995, SET_REPLY),
    (b"__SET__:" + b"k" * 1013 + b"=0", SET_REPLY),
], ids=lambda value: value[:12].decode())
def test_a_request_of_1023_bytes_is_taken_whole(device, text, reply):
    assert len(text) == 1023
    device.write_settings("", TEST_SETTINGS)
    device.start_daemon()
    assert request(text) == reply
    assert switched_on()


def test_a_zero_byte_ends_a_command(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver), TEST_SETTINGS)
    device.start_daemon()
    assert request(b"__TEST__:Lamp\0more=1\n") == b"call event Lamp"
    receiver.wait_for(1)
    assert request(b"__TEST__\0:Lamp") == b"Error: fail command:__TEST__\n"
    assert request(b"__GET__:network.ruvo.enable\0.more") == b"network.ruvo.enable=1\n"


# Connections.


def test_a_connection_serves_one_command(device):
    daemon = device.start_daemon()
    with socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=20) as connection:
        connection.sendall(b"__SET__:network.ruvo.enable=0")
        received = b""
        while chunk := connection.recv(4096):
            received += chunk
        assert received == SET_REPLY
        connection.sendall(b"__SET__:network.ruvo.enable=1")
    assert not switched_on()
    assert daemon.output().count("key=__SET__") == 1


def test_commands_leave_no_descriptor_behind(device):
    device.write_settings("", TEST_SETTINGS)
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    before = descriptors(daemon.pid)
    for _ in range(5):
        run_test("Lamp")
        set_switch(b"1")
        request(b"__GET__:network.ruvo.enable")
        request(b"__TEST__")
    wait_until(lambda: descriptors(daemon.pid) == before, "the descriptors are as before")


@pytest.fixture
def held_test(device):
    """A daemon whose test command waits until `hang` is gone, and a client of it."""
    device.write_settings("", TEST_SETTINGS)
    device.replace_tool(
        "while [ -e /tmp/device/hang ]; do : >/tmp/device/hangs; sleep 0.02; done\necho true\n"
    )
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    (STATE / "hang").touch()
    connection = socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=20)
    connection.sendall(b"__TEST__:Lamp")
    wait_until(lambda: (STATE / "hangs").exists(), "the command is being handled")
    return daemon, connection


def test_a_client_that_is_gone_before_the_reply_costs_nobody_else(held_test):
    daemon, connection = held_test
    connection.close()
    (STATE / "hang").unlink()
    assert request(b"__FOO__:") == b"Error: fail command:__FOO__\n"
    assert switched_on()
    assert daemon.running()


def test_a_client_that_resets_before_the_reply_costs_a_text_without_a_line_end(held_test):
    daemon, connection = held_test
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()
    (STATE / "hang").unlink()
    assert request(b"Nobody") == b"Nobody\n"
    wait_for_line_on_both_outputs(
        daemon,
        "Recv[13]:key=__TEST__:Lamp,value=__TEST__:LampError: fail response: __TEST__"
        "[handle_tcp_event:1434] Recv[6]:key=Nobody,value=Nobody",
    )


@pytest.mark.parametrize("text, told", [
    (b"__FOO__:x", "Recv[9]:key=__FOO__:x,value=__FOO__:xError: fail response: __FOO__"),
    (b"__GET__:a", "Recv[9]:key=__GET__:a,value=__GET__:aError: fail response: __GET__"),
    (
        b"__FOO__\n",
        "[handle_tcp_command:1512] Error command: Error: fail command:__FOO__\n"
        "Error: fail response: __FOO__",
    ),
], ids=repr)
def test_a_reply_that_cannot_be_sent_is_told_without_a_line_end(device, text, told):
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail("send", errno.EPIPE)
    assert request(text) == b""
    assert switched_on()
    wait_for_line_on_both_outputs(daemon, told + "[handle_tcp_event:1434] Recv[6]:key=Nobody")


def test_a_switch_whose_reply_cannot_be_sent_counts(device):
    orders = CallOrders(device)
    device.start_daemon(preload=[LIBRARY])
    orders.fail("send", errno.EPIPE)
    assert request(b"__SET__:network.ruvo.enable=0") == b""
    assert not switched_on()
    assert stored_switch(device) == b"false\n"


def test_a_reply_that_is_sent_in_part_stays_so(device):
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail("send", 0)
    assert request(b"__SET__:network.ruvo.enable=0") == SET_REPLY[: len(SET_REPLY) // 2]
    assert not switched_on()
    assert "fail response" not in daemon.output()


def test_a_test_that_needs_more_memory_than_there_is_costs_itself(device):
    device.status_items("long:" + "v" * 2000 + "\n" + "".join(f"item{i}:{i}\n" for i in range(6)))
    device.write_settings(event("Huge", ("1.2.3.4", "5", "none", b"{{long}}" * 110)), TEST_SETTINGS)
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY, "fail_big_allocations.so"])
    daemon.wait_for_supervision()
    orders.fail("big_allocation", errno.ENOMEM)
    request(b"__TEST__:Huge")
    assert orders.failures_left("big_allocation") == 0
    assert switched_on()
    assert "std::bad_alloc" in text_of(LOG)
    assert daemon.running()
