"""The command port: one connection, one request, one reply."""

import errno
import re
import socket
import struct
import subprocess
import threading
import time

import pytest

from fault_orders import LIBRARY, CallOrders
from harness import (
    COMMAND_PORT, LOG, PID_FILE, STATE, event, request, text_of, trigger,
    wait_for_line_on_both_outputs, wait_until,
)
from process import change_settings, descriptors

NOTHING_SENT = event("Lamp", ("1.2.3.4", "5", "none", b"on"))


def connect():
    return socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=20)


def read_to_end(connection):
    data = b""
    while chunk := connection.recv(4096):
        data += chunk
    return data


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def lamp(receiver):
    return event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"))


def test_a_request_with_a_line_end_is_queued_and_echoed(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    device.start_daemon()
    assert request(b"Lamp\n") == b"Lamp\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_a_request_without_a_line_end_is_queued_and_echoed_with_one(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    device.start_daemon()
    assert request(b"Lamp") == b"Lamp\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_the_text_from_an_equals_sign_on_is_dropped(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    device.start_daemon()
    assert request(b"Lamp=on=now\n") == b"Lamp\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_the_key_keeps_a_line_end_of_its_own(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    device.start_daemon()
    assert request(b"Lamp\n=on") == b"Lamp\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_an_empty_key_is_echoed_as_an_empty_line(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    assert request(b"=on\n") == b"\n"
    assert request(b"\n") == b"\n"


def test_an_unknown_event_is_echoed_like_any_other(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    assert request(b"Nobody\r\n") == b"Nobody\r\n"


def test_a_disabled_daemon_refuses_with_the_key_as_it_came(device):
    device.write_settings(NOTHING_SENT)
    device.enable(False)
    device.start_daemon()
    assert request(b"PowerOn") == b"Event Disabled, skip PowerOn"
    assert request(b"PowerOn\n") == b"Event Disabled, skip PowerOn\n"
    assert request(b"PowerOn=1\n") == b"Event Disabled, skip PowerOn"


def test_a_request_is_logged_with_its_reply(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    request(b"PowerOn\n")
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_event:1434] Recv[8]:key=PowerOn\n,value=PowerOn\n"
        "[handle_tcp_event:1461] send() PowerOn\n\n",
    )


def test_a_request_with_an_equals_sign_is_logged_in_two_parts(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    request(b"a=b=c")
    wait_for_line_on_both_outputs(
        daemon, "[handle_tcp_event:1434] Recv[1]:key=a,value=b=c[handle_tcp_event:1461] send() a\n\n"
    )


def test_a_refused_request_is_logged_with_its_reply(device):
    device.write_settings(NOTHING_SENT)
    device.enable(False)
    daemon = device.start_daemon()
    request(b"PowerOn")
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_event:1434] Recv[7]:key=PowerOn,value=PowerOn"
        "[handle_tcp_event:1461] send() Event Disabled, skip PowerOn\n",
    )


def test_a_word_that_begins_with_two_underscores_is_no_event(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("__Lamp", (receiver.ip, receiver.port, "UDP", b"never"))
        + event("_Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"))
    )
    daemon = device.start_daemon("-d")
    for text, key in ((b"__Lamp\n", b"__Lamp"), (b"__Lamp=1\n", b"__Lamp"), (b"__", b"__")):
        assert request(text) == b"Error: fail command:" + key + b"\n"
    wait_for_line_on_both_outputs(daemon, "[handle_tcp_event:1434] Recv[6]:key=__Lamp,value=1\n")
    assert "send() Error" not in daemon.output()
    trigger("_Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert "not found" not in daemon.output()


def test_two_underscores_behind_the_equals_sign_mean_nothing(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    assert request(b"a=__Lamp__") == b"a\n"
    assert request(b"=__Lamp__") == b"\n"


def test_a_request_of_2000_bytes_is_cut_to_1023(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    assert request(b"0123456789" * 200) == b"0123456789" * 102 + b"012\n"
    line = "[handle_tcp_event:1434] Recv[1023]:key=" + "0123456789" * 102 + "012,value="
    wait_until(lambda: line in daemon.output(), "the log shows 1023 characters")


def test_a_connection_that_ends_without_a_request_leaves_no_line(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    connect().close()
    trigger("Lamp")  # connections are served in their order
    assert "Recv()" not in daemon.output()


def test_the_1024th_byte_of_a_request_stays_unread(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    with connect() as connection:
        connection.sendall(b"x" * 1023)
        assert read_to_end(connection) == b"x" * 1023 + b"\n"
    with connect() as connection, pytest.raises(ConnectionResetError):
        connection.sendall(b"x" * 1024)  # which closing the connection tells its peer
        read_to_end(connection)


def test_a_name_of_1022_characters_and_its_line_end_fit(device):
    receiver = device.udp_receiver()
    name = "L" * 1022
    device.write_settings(event(name, (receiver.ip, receiver.port, "UDP", b"lamp")))
    device.start_daemon()
    trigger(name)
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_a_zero_byte_ends_the_text(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    daemon = device.start_daemon()
    assert request(b"Lamp\0more=x\n") == b"Lamp\n"
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_event:1434] Recv[4]:key=Lamp,value=Lamp[handle_tcp_event:1461] send() Lamp\n\n",
    )
    assert request(b"\0") == b"\n"


def test_percent_signs_are_text(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    assert request(b"%s%n%d\n") == b"%s%n%d\n"
    wait_for_line_on_both_outputs(
        daemon,
        "[handle_tcp_event:1434] Recv[7]:key=%s%n%d\n,value=%s%n%d\n"
        "[handle_tcp_event:1461] send() %s%n%d\n\n",
    )


def test_what_the_first_read_returns_is_the_request(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    with connect() as connection:
        connection.sendall(b"La")
        assert read_to_end(connection) == b"La\n"


def test_a_connection_serves_one_request(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    with connect() as connection:
        connection.sendall(b"Lamp\n")
        assert read_to_end(connection) == b"Lamp\n"
        connection.sendall(b"Hall\n")
    trigger("Done")
    assert "Hall" not in daemon.output()


def test_a_client_that_has_closed_its_sending_side_gets_its_reply(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    with connect() as connection:
        connection.sendall(b"Lamp\n")
        connection.shutdown(socket.SHUT_WR)
        assert read_to_end(connection) == b"Lamp\n"


def test_many_clients_at_once_get_their_own_replies(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    replies = {}

    def ask(name):
        replies[name] = request(name.encode())

    clients = [threading.Thread(target=ask, args=(f"Client{i}",)) for i in range(30)]
    for client in clients:
        client.start()
    for client in clients:
        client.join()
    assert replies == {f"Client{i}": f"Client{i}\n".encode() for i in range(30)}


def test_silent_connections_stay_open_beside_the_others(device):
    device.write_settings(NOTHING_SENT)
    device.start_daemon()
    silent = [connect() for _ in range(5)]
    # Longer than the two seconds that the sockets' time-outs have.
    end = time.monotonic() + 3
    while time.monotonic() < end:
        trigger("Lamp")
    for i, connection in enumerate(silent):
        connection.sendall(f"Silent{i}".encode())
        assert read_to_end(connection) == f"Silent{i}\n".encode()
        connection.close()


def test_a_client_that_leaves_without_a_word_is_forgotten_without_one(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    change_settings()
    log, before = text_of(LOG), descriptors(daemon.pid)
    connection = connect()
    wait_until(lambda: len(descriptors(daemon.pid)) > len(before), "the connection is accepted")
    connection.close()
    wait_until(lambda: descriptors(daemon.pid) == before, "the connection is closed")
    assert text_of(LOG) == log


def test_a_client_that_resets_costs_a_line(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    change_settings()
    before = descriptors(daemon.pid)
    connection = connect()
    wait_until(lambda: len(descriptors(daemon.pid)) > len(before), "the connection is accepted")
    reset(connection)
    wait_for_line_on_both_outputs(
        daemon, "Error: [handle_tcp_event:1420] Recv(): Connection reset by peer\n"
    )
    trigger("Lamp")


def test_a_client_that_resets_before_its_reply_costs_a_line(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    device.replace_tool(
        "while [ -e /tmp/device/hang ]; do : >/tmp/device/hangs; sleep 0.02; done\n"
        'exec /usr/bin/timeout "$@"\n',
        "timeout",
    )
    daemon = device.start_daemon()
    (STATE / "hang").touch()
    connection = connect()
    connection.sendall(b"Lamp\n")
    wait_until(lambda: (STATE / "hangs").exists(), "the request is being handled")
    reset(connection)
    (STATE / "hang").unlink()
    wait_for_line_on_both_outputs(
        daemon, "Error: [handle_tcp_event:1459] send(): Connection reset by peer\n"
    )
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    trigger("Lamp")


def test_a_reply_that_cannot_be_sent_costs_a_line(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail("send", errno.EPIPE)
    assert request(b"Lamp\n") == b""
    wait_for_line_on_both_outputs(daemon, "Error: [handle_tcp_event:1459] send(): Broken pipe\n")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    # The error number 0 stands for half a send, which is none that has failed.
    orders.fail("send", 0)
    assert request(b"Lamp\n") == b"La"
    wait_for_line_on_both_outputs(daemon, "[handle_tcp_event:1461] send() Lamp\n\n")


def test_a_read_that_fails_costs_the_connection_and_a_line(device):
    device.write_settings(NOTHING_SENT)
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail("recv", errno.EIO)
    assert request(b"Lamp\n") == b""
    wait_for_line_on_both_outputs(daemon, "Error: [handle_tcp_event:1420] Recv(): Input/output error\n")
    trigger("Lamp")


def test_the_port_is_bound_on_loopback_only(device):
    device.write_settings(NOTHING_SENT)
    daemon = device.start_daemon()
    wait_for_line_on_both_outputs(daemon, "[handle_tcp_event:1382] bind 127.0.0.1:2700\n")
    sockets = subprocess.run(
        ["ss", "-Hltn", "sport", "=", ":2700"], capture_output=True, text=True, check=True
    ).stdout.split()
    # State, receive queue, backlog, address.
    assert sockets[:4] == ["LISTEN", "0", "10", "127.0.0.1:2700"]


def test_a_second_instance_ends_with_status_1(device):
    receiver = device.udp_receiver()
    device.write_settings(lamp(receiver))
    first = device.start_daemon()
    second = device.start_daemon(wait=False)
    assert second.wait_for_end() == 1
    line = "Error: [handle_tcp_event:1384] bind(): (98)Address already in use\n"
    assert line in second.output() and line in text_of(LOG)
    assert text_of(PID_FILE) == f"{second.pid}\n", "nothing is cleaned up"
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert first.running()


def test_a_restart_takes_the_port_over_at_once(device):
    device.write_settings(NOTHING_SENT)
    first = device.start_daemon()
    trigger("Lamp")
    first.stop()
    device.start_daemon()
    trigger("Lamp")


def test_the_daemon_lives_on_without_a_command_port(device):
    """Any trouble with the port but an address in use ends only the command server."""
    cases = (
        ("socket", errno.EMFILE, "Error: [handle_tcp_event:1368] open socket(): Too many open files\n"),
        (
            "setsockopt",
            errno.ENOMEM,
            "Error: [handle_tcp_event:1372] Server-setsockopt(): Cannot allocate memory\n",
        ),
        ("bind", errno.EACCES, "Error: [handle_tcp_event:1384] bind(): (13)Permission denied\n"),
        ("listen", errno.EOPNOTSUPP, "Error: [handle_tcp_event:1392] listen(): Operation not supported\n"),
        ("select", errno.ENOMEM, "Error: [handle_tcp_event:1401] select(): Cannot allocate memory\n"),
    )
    device.write_settings(NOTHING_SENT)
    for call, error, line in cases:
        orders = CallOrders(device)
        orders.fail(call, error)
        daemon = device.start_daemon(preload=[LIBRARY], wait=False)
        wait_for_line_on_both_outputs(daemon, line)
        change_settings()
        assert daemon.running()
        daemon.stop()


def test_time_outs_that_cannot_be_set_do_not_matter(device):
    device.write_settings(NOTHING_SENT)
    orders = CallOrders(device)
    orders.fail("setsockopt", errno.ENOMEM, after=1, times=2)
    daemon = device.start_daemon(preload=[LIBRARY])
    trigger("Lamp")
    assert orders.failures_left("setsockopt") == 0
    assert "setsockopt" not in daemon.output()


@pytest.mark.parametrize("call", ["select", "accept", "recv"])
def test_an_interrupted_call_is_tried_again(device, call):
    device.write_settings(NOTHING_SENT)
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail(call, errno.EINTR, times=3)
    for _ in range(4):
        trigger("Lamp")
    assert orders.failures_left(call) == 0
    assert "Error: [handle_tcp_event" not in daemon.output()


def test_a_failed_accept_is_told_and_the_client_is_served_all_the_same(device):
    device.write_settings(NOTHING_SENT)
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY])
    orders.fail("accept", errno.ECONNABORTED)
    assert request(b"Lamp\n") == b"Lamp\n"
    wait_for_line_on_both_outputs(
        daemon, "Error: [handle_tcp_event:1410] accept(): Software caused connection abort\n"
    )


def test_a_request_that_needs_more_memory_than_there_is_costs_itself_and_a_line(device):
    """The client gets no reply, and the next request is served."""
    receiver = device.udp_receiver()
    device.status_items("long:" + "v" * 2000 + "\n" + "".join(f"item{i}:{i}\n" for i in range(6)))
    device.write_settings(lamp(receiver) + event("Huge", ("1.2.3.4", "5", "none", b"{{long}}" * 110)))
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY, "fail_big_allocations.so"])
    change_settings()
    before = text_of(LOG)
    orders.fail("big_allocation", errno.ENOMEM)
    assert request(b"Huge\n") == b""
    assert orders.failures_left("big_allocation") == 0
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    told = text_of(LOG)[len(before) :]
    assert re.match(
        r"\[handle_tcp_event:1434\] Recv\[5\]:key=Huge\n,value=Huge\n[^\n]+\n"
        r"\[handle_tcp_event:1434\] Recv\[5\]:key=Lamp\n,value=Lamp\n",
        told,
    ), told
    assert "std::bad_alloc" in told
    assert daemon.running()
